#include "app/CAppSettings.h"

#include "common/CXmlSettingsFile.h"
#include "common/DebugTrace.h"

#include <QGuiApplication>
#include <QScreen>

namespace KELCTRL {
namespace {

IntRect ToIntRect(const QRect& r) {
    return IntRect{r.x(), r.y(), r.width(), r.height()};
}

} // namespace

CAppSettings::CAppSettings(int isFreeware)
    : m_isFreeware(isFreeware ? 1 : 0), m_screens(ScreensOfApplication) {}

std::vector<SCREEN_AREA> CAppSettings::ScreensOfApplication() {
    std::vector<SCREEN_AREA> screens;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr)
        return screens;
    QScreen* primary = QGuiApplication::primaryScreen();
    if (primary)
        screens.push_back({ToIntRect(primary->geometry()), ToIntRect(primary->availableGeometry())});
    for (QScreen* screen : QGuiApplication::screens())
        if (screen != primary)
            screens.push_back({ToIntRect(screen->geometry()), ToIntRect(screen->availableGeometry())});
    return screens;
}

int CAppSettings::StoredForm() const {
    return m_isFreeware ? SETTINGS_FORM_PLAIN : SETTINGS_FORM_ENCIPHERED;
}

int CAppSettings::ReadSettingFile(const QString& path, const SettingsHook& readHook) {
    const std::vector<SCREEN_AREA> screens = m_screens ? m_screens() : std::vector<SCREEN_AREA>{};
    const SETTINGS_READ_RESULT result =
        KELCTRL::ReadSettingFile(path.toStdString(), m_values, m_isFreeware, StoredForm(), screens, readHook);
    m_lastError = QString::fromStdString(result.error);
    if (!result.fileRead)
        DebugTrace("[CAppSettings::ReadSettingFile] Defaults in use: %s\n", result.error.c_str());
    m_read = 1;
    return result.fileRead;
}

int CAppSettings::SaveSettingFile(const QString& path, const QString& productNameEdition,
                                  const QString& version, const SettingsHook& saveHook) {
    std::string error;
    const int ok =
        KELCTRL::SaveSettingFile(path.toStdString(), m_values, productNameEdition.toStdString(),
                                 version.toStdString(), m_isFreeware, StoredForm(), saveHook, &error);
    m_lastError = QString::fromStdString(error);
    if (!ok)
        DebugTrace("[CAppSettings::SaveSettingFile] %s\n", error.c_str());
    return ok;
}

int CAppSettings::UpdateAppInfoFile(const QString& path, const QString& version, const QString& license) {
    std::string error;
    const int ok =
        KELCTRL::UpdateAppInfoFile(path.toStdString(), version.toStdString(), license.toStdString(), &error);
    if (!ok)
        DebugTrace("[CAppSettings::UpdateAppInfoFile] %s\n", error.c_str());
    return ok;
}

void CAppSettings::SaveOptionsToXml(TiXmlElement* element) const {
    if (element)
        KELCTRL::SaveOptionsToXml(element, m_saveOptions);
}

int CAppSettings::SaveOptionsFromXml(const TiXmlElement* element) {
    return KELCTRL::SaveOptionsFromXml(m_saveOptions, element);
}

QRect CAppSettings::GetMainWndRect() const {
    const IntRect& r = m_values.mainWndRect;
    return QRect(r.x, r.y, r.width, r.height);
}

void CAppSettings::SetMainWndRect(const QRect& rect) {
    m_values.mainWndRect = ToIntRect(rect);
}

} // namespace KELCTRL
