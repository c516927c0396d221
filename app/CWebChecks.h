#pragma once
// The two background checks a product may configure: the newest version (one hexadecimal line) and
// pushed content (an XML page offer). Each runs on its own thread at low priority and signals its
// event when done; results live under a lock. Nothing runs without an endpoint.
#include <QByteArray>
#include <QString>

#include <functional>
#include <mutex>
#include <thread>

#include "common/event_signal.h"

namespace KELCTRL {

struct PUSH_PAGE {
    QString name;
    int width = 0;
    int height = 0;
    bool IsValid() const { return !name.isEmpty() && width >= 1 && height >= 1; }
};

class CWebChecks {
public:
    using Fetcher = std::function<bool(const QString& url, QByteArray& body)>;

    CWebChecks();
    ~CWebChecks();
    void SetFetcher(Fetcher fetcher) { m_fetcher = std::move(fetcher); }

    // Starts the version check against url; versionDword is the running version.
    void StartVersionCheck(const QString& url, uint32_t versionDword);
    void StartPushContentCheck(const QString& url);
    // Waits without limit for every check that was started (the events start signalled).
    void WaitAll();

    bool GetNewVersion(QString& version) const;
    PUSH_PAGE GetPushPage() const;

    // Parses the version line: hexadecimal dword, major in the top byte. True with the text when newer.
    static bool ParseVersionLine(const QByteArray& line, uint32_t current, QString& version);
    // Parses the push XML; an invalid page gives an empty offer and a trace.
    static PUSH_PAGE ParsePushContent(const QByteArray& xml);
    // Fetches with the network (a short blocking request on the calling thread).
    static bool NetworkFetch(const QString& url, QByteArray& body);

private:
    Fetcher m_fetcher;
    mutable std::mutex m_lock;
    bool m_hasNewVersion = false;
    QString m_newVersion;
    PUSH_PAGE m_push;
    event_signal m_versionDone{true, true};
    event_signal m_pushDone{true, true};
    event_signal m_thirdDone{true, true}; // the licence-side check of other editions: never started here
    std::thread m_versionThread, m_pushThread;
};

} // namespace KELCTRL
