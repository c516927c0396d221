#include "ui/CImageResources.h"

#include "common/CAtomicFileWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstring>

namespace KELCTRL {
namespace {

struct PublishedMap {
    DPI_IMAGE_MAP* map = nullptr;
    IMAGE_RES_SOURCE source;
};
PublishedMap g_skin;
PublishedMap g_icon;

QImage ReadImage(const QString& path) {
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return QImage();
    return QImage(path);
}

void DeleteAll(DPI_IMAGE_MAP& map) {
    for (auto& entry : map)
        delete entry.second;
    map.clear();
}

} // namespace

QImage LoadImageFromResData(const IMAGE_RES_SOURCE& source, const QString& resourceName) {
    const QString file = resourceName + QStringLiteral(".png");
    if (!source.qrcFolder.isEmpty()) {
        QImage image = ReadImage(source.qrcFolder + QLatin1Char('/') + file);
        if (!image.isNull())
            return image;
    }
    if (source.fileFolder.isEmpty())
        return QImage();
    return ReadImage(QDir(source.fileFolder).filePath(file));
}

int LoadImageFromResource(CImageDataInfo& image, const IMAGE_RES_SOURCE& source,
                          const QString& resourceName) {
    const QImage loaded = LoadImageFromResData(source, resourceName);
    if (loaded.isNull())
        return 0;
    // ARGB32 is B, G, R, A in memory on little-endian machines: the record's channel order.
    const QImage argb = loaded.convertToFormat(QImage::Format_ARGB32);
    CImageDataInfo record;
    if (!record.Create(argb.width(), argb.height(), 4, 1))
        return 0;
    for (int y = 0; y < argb.height(); ++y)
        std::memcpy(record.RowPtr(y), argb.constScanLine(y), size_t(argb.width()) * 4);
    image = record;
    return 1;
}

int ResDataToFile(const IMAGE_RES_SOURCE& source, const QString& name, const QString& path) {
    QStringList candidates;
    if (!source.qrcFolder.isEmpty())
        candidates << source.qrcFolder + QLatin1Char('/') + name;
    if (!source.fileFolder.isEmpty())
        candidates << QDir(source.fileFolder).filePath(name);
    for (const QString& candidate : candidates) {
        QFile file(candidate);
        if (!QFileInfo(candidate).isFile() || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray bytes = file.readAll();
        return CAtomicFileWriter::WriteWhole(path.toStdString(),
                                             std::string_view(bytes.constData(), size_t(bytes.size())));
    }
    return 0;
}

CDpiAwareImage* GetDpiAwareImage(DPI_IMAGE_MAP& map, const IMAGE_RES_SOURCE& source, const QString& name) {
    if (name.isEmpty())
        return nullptr;
    const QString key = (source.prefix + name).toLower();
    const auto it = map.find(key);
    if (it != map.end())
        return it->second;
    auto* image = new CDpiAwareImage;
    for (unsigned dpi : kResourceDpis) {
        const QImage res = LoadImageFromResData(source, QStringLiteral("%1[%2]").arg(key).arg(dpi));
        if (!res.isNull())
            image->AddRes(dpi, res);
    }
    map.emplace(key, image);
    return image;
}

void SetSkinImages(DPI_IMAGE_MAP* map, const IMAGE_RES_SOURCE& source) {
    g_skin = {map, source};
}
void SetIconImages(DPI_IMAGE_MAP* map, const IMAGE_RES_SOURCE& source) {
    g_icon = {map, source};
}

CDpiAwareImage* GetDpiAwareSkinImage(const QString& name) {
    return g_skin.map ? GetDpiAwareImage(*g_skin.map, g_skin.source, name) : nullptr;
}

CDpiAwareImage* GetDpiAwareIconImage(const QString& name) {
    return g_icon.map ? GetDpiAwareImage(*g_icon.map, g_icon.source, name) : nullptr;
}

CImageResources::~CImageResources() {
    ReleaseResource();
}

void CImageResources::LoadResource(const QString& skinFolder, const QString& iconFolder) {
    m_skin.fileFolder = skinFolder;
    m_icon.fileFolder = iconFolder;
    SetSkinImages(&m_skinImages, m_skin);
    SetIconImages(&m_iconImages, m_icon);
    m_published = true;
}

void CImageResources::ReleaseResource() {
    // Withdraw only what this object published: another owner's maps stay reachable.
    if (m_published) {
        if (g_skin.map == &m_skinImages)
            SetSkinImages(nullptr, IMAGE_RES_SOURCE{});
        if (g_icon.map == &m_iconImages)
            SetIconImages(nullptr, IMAGE_RES_SOURCE{});
        m_published = false;
    }
    DeleteAll(m_skinImages);
    DeleteAll(m_iconImages);
}

CDpiAwareImage* CImageResources::GetImageRes(RES_TYPE type, const QString& name) {
    return type == RES_TYPE_ICON ? GetDpiAwareImage(m_iconImages, m_icon, name)
                                 : GetDpiAwareImage(m_skinImages, m_skin, name);
}

} // namespace KELCTRL
