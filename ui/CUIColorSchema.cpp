#include "ui/CUIColorSchema.h"

#include "common/CXmlSettingsFile.h"

#include <tinyxml.h>

#include <cstdio>
#include <cstring>

namespace KELCTRL {

static_assert(sizeof(CUIColorSchema) == CUIColorSchema::kColorCount * sizeof(uint32_t),
              "the colours must stay one plain run of fields");

namespace {

struct Leaf {
    const char* group;
    const char* name;
    int field;
    bool argb;
};

// The file's tree in its order; the six colours without an element keep their values.
constexpr Leaf kLeaves[] = {
    {"color_bk", "default", 0, false},
    {"color_bk", "panel", 1, false},
    {"color_bk", "sub_panel", 2, false},
    {"color_bk", "raised_panel", 3, false},
    {"color_bk", "work_area", 4, false},
    {"color_line", "main_frame", 6, true},
    {"color_line", "ctrl_border", 7, true},
    {"color_line", "ctrl_border_highlight", 8, true},
    {"color_line", "ctrl_border_shadow", 10, true},
    {"color_line", "ctrl_border_shadow_pro", 11, true},
    {"color_mask", "highlight", 13, true},
    {"color_mask", "highlight_pro", 14, true},
    {"color_mask", "shadow", 15, true},
    {"color_btn", "face_highlight", 17, false},
    {"color_btn", "face_shadow", 18, false},
    {"color_text", "normal", 20, false},
    {"color_text", "highlight", 21, false},
    {"color_text", "disabled", 22, false},
    {"color_text", "link", 23, false},
};

constexpr const char* kRoot = "ui_color_schema";

// Reads up to `count` comma-separated integers the way a scanf with "%d,%d,..." does: it stops at the
// first mismatch, and the values it did not reach keep what they held.
void ScanNumbers(const char* text, int* values, int count) {
    const char* p = text;
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            if (*p != ',')
                return;
            ++p;
        }
        while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
            ++p;
        char* end = nullptr;
        const long v = std::strtol(p, &end, 10);
        if (end == p)
            return;
        values[i] = static_cast<int>(v);
        p = end;
    }
}

} // namespace

void CUIColorSchema::FromXmlFile(const QString& path) {
    CXmlSettingsFile file;
    if (!file.Load(path.toStdString(), kRoot, SETTINGS_FORM_PLAIN) || !file.Root())
        return;
    // Shared across the whole file on purpose: a malformed leaf keeps the numbers of the one before.
    int n[4] = {0, 0, 0, 0};
    for (const Leaf& leaf : kLeaves) {
        const TiXmlElement* group = file.Root()->FirstChildElement(leaf.group);
        const TiXmlElement* e = group ? group->FirstChildElement(leaf.name) : nullptr;
        const char* text = e ? e->GetText() : nullptr;
        if (!text || !*text)
            continue;
        ScanNumbers(text, n, leaf.argb ? 4 : 3);
        At(leaf.field) = leaf.argb ? Argb(n[0], n[1], n[2], n[3]) : Rgb(n[0], n[1], n[2]);
    }
}

int CUIColorSchema::ToXmlFile(const QString& path) const {
    CXmlSettingsFile file;
    TiXmlElement* root = file.CreateRoot(kRoot);
    TiXmlElement* group = nullptr;
    for (const Leaf& leaf : kLeaves) {
        if (!group || std::strcmp(group->Value(), leaf.group) != 0)
            group = root->InsertEndChild(TiXmlElement(leaf.group))->ToElement();
        const uint32_t c = At(leaf.field);
        char buffer[16];
        if (leaf.argb)
            std::snprintf(buffer, sizeof buffer, "%d,%d,%d,%d", int(c >> 24), int((c >> 16) & 0xFF),
                          int((c >> 8) & 0xFF), int(c & 0xFF));
        else
            std::snprintf(buffer, sizeof buffer, "%d,%d,%d", int(c & 0xFF), int((c >> 8) & 0xFF),
                          int((c >> 16) & 0xFF));
        TiXmlElement e(leaf.name);
        e.InsertEndChild(TiXmlText(buffer));
        group->InsertEndChild(e);
    }
    return file.Save(path.toStdString(), SETTINGS_FORM_PLAIN);
}

CUIColorSchema& UIColors() {
    static CUIColorSchema colors;
    return colors;
}

} // namespace KELCTRL
