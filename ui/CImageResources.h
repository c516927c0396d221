#pragma once
// The skin and icon images of the interface, loaded on first use by name and kept per name.
// An image "name" of a resource type is looked for as "<prefix><name>[<dpi>]" for each supported dpi,
// lower case: first as the Qt resource ":/<type>/<that>.png", then as the file "<folder>/<that>.png"
// (folder: the working folder's skin/ or icon/). For example "skin_browser_back[144].png".
#include "common/CImageDataInfo.h"
#include "ui/CDpiAwareImage.h"

#include <QImage>
#include <QString>
#include <map>

namespace KELCTRL {

enum RES_TYPE { RES_TYPE_SKIN = 0, RES_TYPE_ICON = 1 };

using DPI_IMAGE_MAP = std::map<QString, CDpiAwareImage*>;

// The resolutions an image may be supplied in, in lookup order.
inline constexpr unsigned kResourceDpis[] = {96, 120, 144, 168, 192, 240, 288};

// Where one map's images come from.
struct IMAGE_RES_SOURCE {
    QString qrcFolder;  // ":/skin"
    QString fileFolder; // "<working folder>/skin"
    QString prefix;     // "skin_"
};

// One named image: the Qt resource first, then the file. Null when neither exists or decodes.
QImage LoadImageFromResData(const IMAGE_RES_SOURCE& source, const QString& resourceName);
// The same image as a 4-channel, 8-bit record (B, G, R, A, top-down) for the pixel library. Returns 1
// on success; 0 leaves image untouched.
int LoadImageFromResource(CImageDataInfo& image, const IMAGE_RES_SOURCE& source, const QString& resourceName);
// Copies the bytes of a named resource file ("<name>" as given, extension included) to path,
// atomically. Returns 0 when the resource does not exist or the write fails.
int ResDataToFile(const IMAGE_RES_SOURCE& source, const QString& name, const QString& path);
// The image set for name in map, made on a miss from every dpi found, and kept in the map even when
// it stays empty so that a missing image is looked for only once.
CDpiAwareImage* GetDpiAwareImage(DPI_IMAGE_MAP& map, const IMAGE_RES_SOURCE& source, const QString& name);

// Publishes the application's maps to code without the application object; null withdraws them.
void SetSkinImages(DPI_IMAGE_MAP* map, const IMAGE_RES_SOURCE& source);
void SetIconImages(DPI_IMAGE_MAP* map, const IMAGE_RES_SOURCE& source);
// Null while no map is published, or for an empty name.
CDpiAwareImage* GetDpiAwareSkinImage(const QString& name);
CDpiAwareImage* GetDpiAwareIconImage(const QString& name);

// The two maps, owned here. The application object owns one and forwards LoadResource,
// ReleaseResource, GetImageRes, GetSkinImage and GetIconImage to it.
class CImageResources {
public:
    CImageResources() = default;
    virtual ~CImageResources();
    CImageResources(const CImageResources&) = delete;
    CImageResources& operator=(const CImageResources&) = delete;

    // Sets the folders and publishes the two maps.
    void LoadResource(const QString& skinFolder, const QString& iconFolder);
    // Withdraws the published maps, deletes every image set and empties the maps.
    void ReleaseResource();

    CDpiAwareImage* GetImageRes(RES_TYPE type, const QString& name);
    CDpiAwareImage* GetSkinImage(const QString& name) { return GetImageRes(RES_TYPE_SKIN, name); }
    CDpiAwareImage* GetIconImage(const QString& name) { return GetImageRes(RES_TYPE_ICON, name); }

    const DPI_IMAGE_MAP& SkinImages() const { return m_skinImages; }
    const DPI_IMAGE_MAP& IconImages() const { return m_iconImages; }
    const IMAGE_RES_SOURCE& Source(RES_TYPE type) const { return type == RES_TYPE_ICON ? m_icon : m_skin; }

private:
    IMAGE_RES_SOURCE m_skin{QStringLiteral(":/skin"), QString(), QStringLiteral("skin_")};
    IMAGE_RES_SOURCE m_icon{QStringLiteral(":/icon"), QString(), QStringLiteral("icon_")};
    DPI_IMAGE_MAP m_skinImages;
    DPI_IMAGE_MAP m_iconImages;
    bool m_published = false;
};

} // namespace KELCTRL
