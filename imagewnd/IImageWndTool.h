#pragma once
// The base of every tool that lives on an image window. A tool declares the events it wants in its
// event mask; the window walks its stack of tools for each event. The tool reports to its panel with
// WM_IWT_NOTIFY, and the panel may veto the tool's own callback by answering 0.
#include "ui/CBaseWnd.h"

#include <QPoint>
#include <QPointer>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class CImageDataInfo;
class QPainter;

namespace KELCTRL {

// Message number of a tool's notification to its panel: wParam the code, lParam the data.
constexpr unsigned WM_IWT_NOTIFY = 0x2B10;

class IImageWndTool {
public:
    using NotifyCallback = void (*)(IImageWndTool* tool, unsigned code, void* data);

    static constexpr uint32_t EVENTMASK_PAINT = 0x00000001;
    static constexpr uint32_t EVENTMASK_CAPTURECHANGED = 0x00000002;
    static constexpr uint32_t EVENTMASK_ZOOMCHANGED = 0x00000004;
    static constexpr uint32_t EVENTMASK_DISPPOSCHANGED = 0x00000008;
    static constexpr uint32_t EVENTMASK_SETCURSOR = 0x00000010;
    static constexpr uint32_t EVENTMASK_LBUTTON = 0x00000020;
    static constexpr uint32_t EVENTMASK_CLICK = 0x00000040;
    static constexpr uint32_t EVENTMASK_DBLCLICK = 0x00000080;
    static constexpr uint32_t EVENTMASK_RBUTTON = 0x00000100;
    static constexpr uint32_t EVENTMASK_RCLICK = 0x00000200;
    static constexpr uint32_t EVENTMASK_MOUSEWHEEL = 0x00000400;
    static constexpr uint32_t EVENTMASK_MOUSEMOVE = 0x00000800;
    static constexpr uint32_t EVENTMASK_MOUSEENTER = 0x00001000;
    static constexpr uint32_t EVENTMASK_MOUSELEAVE = 0x00002000;
    static constexpr uint32_t EVENTMASK_DRAG = 0x00004000;
    static constexpr uint32_t EVENTMASK_RDRAG = 0x00008000;
    static constexpr uint32_t EVENTMASK_KEYDOWN = 0x00010000;
    static constexpr uint32_t EVENTMASK_KEYUP = 0x00020000;
    static constexpr uint32_t EVENTMASK_SYSKEYDOWN = 0x00040000;
    static constexpr uint32_t EVENTMASK_SYSKEYUP = 0x00080000;
    static constexpr uint32_t EVENTMASK_TIMER = 0x00100000;
    static constexpr uint32_t EVENTMASK_WNDRESIZE = 0x00200000;
    static constexpr uint32_t EVENTMASK_SETIMAGE = 0x00400000;
    static constexpr uint32_t EVENTMASK_UPDATEIMAGE = 0x00800000;
    static constexpr uint32_t EVENTMASK_CLEARIMAGE = 0x01000000;
    static constexpr uint32_t EVENTMASK_POSTPROCESSIMAGE = 0x02000000;
    static constexpr uint32_t EVENTMASK_ALL = 0xFFFFFFFF;

    // Framework notification codes; both carry the tool as data.
    static constexpr unsigned NOTIFY_LOADED = 100;
    static constexpr unsigned NOTIFY_UNLOADED = 101;

    IImageWndTool();
    virtual ~IImageWndTool();
    IImageWndTool(const IImageWndTool&) = delete;
    IImageWndTool& operator=(const IImageWndTool&) = delete;

    virtual void Reset() {}
    virtual size_t SerializeSize() const { return 0; }
    virtual void Serialize(std::vector<unsigned char>&) const {}
    virtual int Unserialize(const unsigned char*, size_t) { return 0; }
    // Concrete tools call the base first in OnLoad and last in OnUnload.
    virtual void OnLoad(CBaseWnd* imageWnd);
    virtual void OnUnload();
    virtual void OnSetImage() {}
    virtual void OnUpdateImage() {}
    virtual void OnClearImage() {}
    virtual void OnPaint(QPainter&, int /*width*/, int /*height*/) {}
    virtual void OnCaptureChanged(CBaseWnd* /*newOwner*/) {}
    virtual void OnZoomChanged() {}
    virtual void OnDispPosChanged() {}
    virtual void OnWndResize(int /*cx*/, int /*cy*/) {}
    // Runs on the adjusting thread: only the two images may be touched without the tool's own lock.
    virtual void OnPostProcessImage(CImageDataInfo& /*dst*/, const CImageDataInfo& /*src*/, int /*x*/,
                                    int /*y*/) {}
    virtual int OnSetCursor(QPoint) { return 0; }
    virtual int OnLButtonDown(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnLButtonUp(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnClick(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnDblClk(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnRButtonDown(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnRButtonUp(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnRClick(unsigned /*flags*/, QPoint) { return 0; }
    virtual int OnMouseWheel(unsigned /*flags*/, short /*delta*/, QPoint) { return 0; }
    virtual void OnMouseMove(unsigned /*flags*/, QPoint) {}
    virtual void OnMouseEnter(unsigned /*flags*/, QPoint) {}
    virtual void OnMouseLeave() {}
    virtual int OnStartDrag(unsigned /*flags*/, QPoint /*downPoint*/) { return 0; }
    // Set releaseCapture to 0 to keep the mouse capture after the drag.
    virtual void OnEndDrag(unsigned /*flags*/, QPoint, int& /*releaseCapture*/) {}
    virtual void OnDragging(unsigned /*flags*/, QPoint) {}
    virtual int OnStartRDrag(unsigned /*flags*/, QPoint /*downPoint*/) { return 0; }
    virtual void OnEndRDrag(unsigned /*flags*/, QPoint, int& /*releaseCapture*/) {}
    virtual void OnRDragging(unsigned /*flags*/, QPoint) {}
    virtual int OnKeyDown(unsigned /*key*/, unsigned /*repeat*/, unsigned /*flags*/) { return 0; }
    virtual int OnKeyUp(unsigned /*key*/, unsigned /*repeat*/, unsigned /*flags*/) { return 0; }
    virtual int OnSysKeyDown(unsigned /*key*/, unsigned /*repeat*/, unsigned /*flags*/) { return 0; }
    virtual int OnSysKeyUp(unsigned /*key*/, unsigned /*repeat*/, unsigned /*flags*/) { return 0; }
    virtual int OnTimer(uintptr_t /*id*/) { return 0; }

    const char* GetName() const { return m_toolName.c_str(); }
    CBaseWnd* GetImageWnd() const { return m_imageWnd; }
    uint32_t GetEventMask() const { return m_eventMask; }
    int IsExclusive() const { return m_exclusive; }
    int IsAutoMoveEnabled() const { return m_autoMove; }
    int IsUserCancelled() const { return m_userCancelled; }
    // There is no clearing setter: OnLoad clears the flag.
    void SetUserCancelled() { m_userCancelled = 1; }
    // The receiver of WM_IWT_NOTIFY, normally the tool's panel. A panel receiver also learns that
    // its Cancel marks this tool.
    void SetNotifyWnd(CBaseWnd* wnd);
    CBaseWnd* GetNotifyWnd() const { return m_notifyWnd.data(); }
    void SetNotifyCallback(NotifyCallback callback) { m_notifyCallback = callback; }

    // Asks the tool's panel to close, or cancels it, when the receiver is a panel.
    void CloseToolPanel();
    void CancelToolPanel();

protected:
    // Sends WM_IWT_NOTIFY to a living receiver; the callback runs only when the receiver answers
    // non-zero. Silent without a receiver.
    void SendNotify(unsigned code, void* data);

    std::string m_toolName;
    int m_toolFlag = 1;
    CBaseWnd* m_imageWnd = nullptr;
    int m_exclusive = 1;
    uint32_t m_eventMask = 0;
    QPointer<CBaseWnd> m_notifyWnd; // null once the receiver is gone
    int m_autoMove = 0;
    int m_lockViewOnLoad = 0;
    int m_userCancelled = 0;
    NotifyCallback m_notifyCallback = nullptr;
};

} // namespace KELCTRL
