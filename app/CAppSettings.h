#pragma once
// The base application's settings: read once at start-up from settings.xml, saved at exit, plus the
// save options every product shares and the info file for outside tools. The application object owns
// one and hands in its names, its edition kind and its ReadSettings / SaveSettings operations.
#include "common/AppSettingsXml.h"
#include "common/SaveOptionsXml.h"

#include <QRect>
#include <QString>
#include <functional>
#include <vector>

class TiXmlElement;

namespace KELCTRL {

class CAppSettings {
public:
    // The connected screens, the primary first. The default asks the running QGuiApplication; tests
    // give fixed screens.
    using ScreenProvider = std::function<std::vector<SCREEN_AREA>()>;

    explicit CAppSettings(int isFreeware);
    virtual ~CAppSettings() = default;

    void SetScreenProvider(ScreenProvider provider) { m_screens = std::move(provider); }
    static std::vector<SCREEN_AREA> ScreensOfApplication();

    // Defaults, the file in the product's stored form or else the other one, the values, the start
    // counter raised by one, then readHook with the root, or null when no file was read. A missing,
    // unreadable, truncated or malformed file keeps every default and the run goes on. Marks the
    // settings as read; returns 1 when a file was read.
    int ReadSettingFile(const QString& path, const SettingsHook& readHook = {});
    // Writes the values in file order, then saveHook's. Atomic: a failure leaves the old file whole
    // and returns 0.
    int SaveSettingFile(const QString& path, const QString& productNameEdition, const QString& version,
                        const SettingsHook& saveHook = {});
    static int UpdateAppInfoFile(const QString& path, const QString& version, const QString& license);

    // The save options, kept by every product under its own element.
    void SaveOptionsToXml(TiXmlElement* element) const;
    int SaveOptionsFromXml(const TiXmlElement* element);
    SAVEOPTIONS_SETTINGS& SaveOptions() { return m_saveOptions; }
    const SAVEOPTIONS_SETTINGS& SaveOptions() const { return m_saveOptions; }

    int IsSettingsRead() const { return m_read; }
    int StartTimes() const { return m_values.startTimes; }
    int IsFirstRun() const { return m_values.startTimes <= 1; }
    QRect GetMainWndRect() const;
    void SetMainWndRect(const QRect& rect);
    int IsMaximized() const { return m_values.maximized; }
    void SetMaximized(int maximized) { m_values.maximized = maximized ? 1 : 0; }
    int IsFreeware() const { return m_isFreeware; }
    // SETTINGS_FORM_PLAIN for freeware, SETTINGS_FORM_ENCIPHERED otherwise.
    int StoredForm() const;
    APP_SETTINGS& Values() { return m_values; }
    const APP_SETTINGS& Values() const { return m_values; }
    // Why the last read or save failed, for the log.
    const QString& LastError() const { return m_lastError; }

private:
    int m_isFreeware;
    int m_read = 0;
    APP_SETTINGS m_values;
    SAVEOPTIONS_SETTINGS m_saveOptions;
    ScreenProvider m_screens;
    QString m_lastError;
};

} // namespace KELCTRL
