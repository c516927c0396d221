// The tool stack of CImageWnd: loading, unloading and finding tools.
#include "imagewnd/CImageWnd.h"

#include <algorithm>
#include <cstring>

namespace KELCTRL {

void CImageWnd::LoadTool(IImageWndTool* tool) {
    if (!tool || FindTool(tool) >= 0)
        return;
    if (tool->IsExclusive()) {
        // Only the newcomer decides: every loaded tool of the same name goes, so that two instances
        // of one tool never share a window unless the newcomer allows it.
        bool removed = true;
        while (removed) {
            removed = false;
            for (IImageWndTool* other : m_tools) {
                if (std::strcmp(other->GetName(), tool->GetName()) == 0) {
                    UnloadTool(other, 1);
                    removed = true;
                    break;
                }
            }
        }
    }
    tool->OnLoad(this);
    {
        std::lock_guard<std::mutex> guard(m_toolListLock);
        m_tools.insert(m_tools.begin(), tool);
    }
    const uint32_t mask = tool->GetEventMask();
    if (m_image && (mask & IImageWndTool::EVENTMASK_SETIMAGE))
        tool->OnSetImage();
    if (mask & IImageWndTool::EVENTMASK_SETCURSOR)
        UpdateCursor();
}

void CImageWnd::UnloadTool(IImageWndTool* tool, int redraw) {
    if (FindTool(tool) < 0)
        return;
    {
        // The adjust thread walks the tools under this lock: once the tool is out, no walk reaches
        // it, and OnUnload may free what the walk would read.
        std::lock_guard<std::mutex> guard(m_toolListLock);
        m_tools.erase(std::remove(m_tools.begin(), m_tools.end(), tool), m_tools.end());
    }
    tool->OnUnload();
    // A drag whose owner left has nobody to report to.
    if (m_dragOwner == tool)
        m_dragOwner = nullptr;
    const uint32_t mask = tool->GetEventMask();
    if (redraw) {
        if (mask & IImageWndTool::EVENTMASK_POSTPROCESSIMAGE) {
            // The tool's share of the processed pixels must go away.
            if (m_image && m_beforeImage)
                ProcessImage();
        } else {
            RepaintNow();
            FlushSyncPartner();
        }
    }
    if ((mask & IImageWndTool::EVENTMASK_SETCURSOR) && rect().contains(GetCursorClientPos()))
        UpdateCursor();
}

void CImageWnd::UnloadAllTools() {
    // Without an image no tool hears OnUnload, as no other walk runs without one.
    const bool notify = m_image != nullptr;
    while (!m_tools.empty()) {
        IImageWndTool* tool = m_tools.front();
        {
            std::lock_guard<std::mutex> guard(m_toolListLock);
            m_tools.erase(m_tools.begin());
        }
        if (m_dragOwner == tool)
            m_dragOwner = nullptr;
        if (notify)
            tool->OnUnload();
    }
}

intptr_t CImageWnd::FindTool(IImageWndTool* tool) const {
    if (!tool)
        return -1;
    const auto it = std::find(m_tools.begin(), m_tools.end(), tool);
    return it == m_tools.end() ? -1 : static_cast<intptr_t>(it - m_tools.begin());
}

bool CImageWnd::AnyAutoMoveTool() const {
    return std::any_of(m_tools.begin(), m_tools.end(),
                       [](const IImageWndTool* t) { return t->IsAutoMoveEnabled(); });
}

void CImageWnd::UpdateCursor() {
    OnSetCursor(this, HTCLIENT, 0);
}

} // namespace KELCTRL
