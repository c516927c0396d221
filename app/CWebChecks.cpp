#include "app/CWebChecks.h"

#include "common/AltSignalStack.h"
#include "common/DebugTrace.h"
#include "common/std_thread.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <tinyxml.h>

namespace KELCTRL {

namespace {
void LowerThisThread() {
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)),
                GS_THREAD::std_thread::NiceForPriority(-1));
}
} // namespace

CWebChecks::CWebChecks() : m_fetcher(&CWebChecks::NetworkFetch) {}

CWebChecks::~CWebChecks() {
    WaitAll();
}

void CWebChecks::WaitAll() {
    m_versionDone.wait(-1);
    m_pushDone.wait(-1);
    m_thirdDone.wait(-1);
    if (m_versionThread.joinable())
        m_versionThread.join();
    if (m_pushThread.joinable())
        m_pushThread.join();
}

bool CWebChecks::ParseVersionLine(const QByteArray& line, uint32_t current, QString& version) {
    bool ok = false;
    const uint32_t found = line.trimmed().toUInt(&ok, 16);
    if (!ok || found == 0 || found <= current)
        return false;
    version = QStringLiteral("%1.%2.%3").arg(found >> 24).arg((found >> 16) & 0xFF).arg((found >> 8) & 0xFF);
    return true;
}

PUSH_PAGE CWebChecks::ParsePushContent(const QByteArray& xml) {
    PUSH_PAGE page;
    TiXmlDocument doc;
    doc.Parse(xml.constData());
    if (doc.Error()) {
        DebugTrace("[thdPushContentDetect] Parsing xml error!\n");
        return page;
    }
    const TiXmlElement* root = doc.RootElement();
    const TiXmlElement* e = root ? root->FirstChildElement("page") : nullptr;
    if (!e) {
        DebugTrace("[thdPushContentDetect] Invalid xml content!\n");
        return page;
    }
    const char* name = e->Attribute("name");
    page.name = QString::fromUtf8(name ? name : "");
    e->QueryIntAttribute("width", &page.width);
    e->QueryIntAttribute("height", &page.height);
    if (!page.IsValid()) {
        DebugTrace("[thdPushContentDetect] Invalid xml content!\n");
        return PUSH_PAGE();
    }
    return page;
}

void CWebChecks::StartVersionCheck(const QString& url, uint32_t versionDword) {
    if (url.isEmpty() || m_versionThread.joinable())
        return;
    m_versionDone.reset();
    m_versionThread = std::thread([this, url, versionDword] {
        GS_THREAD::EnsureAltSignalStack();
        LowerThisThread();
        QByteArray body;
        QString version;
        if (m_fetcher(url, body) && ParseVersionLine(body.split('\n').value(0), versionDword, version)) {
            std::lock_guard<std::mutex> g(m_lock);
            m_hasNewVersion = true;
            m_newVersion = version;
        }
        m_versionDone.set();
    });
}

void CWebChecks::StartPushContentCheck(const QString& url) {
    if (url.isEmpty() || m_pushThread.joinable())
        return;
    m_pushDone.reset();
    m_pushThread = std::thread([this, url] {
        GS_THREAD::EnsureAltSignalStack();
        LowerThisThread();
        QByteArray body;
        PUSH_PAGE page;
        if (m_fetcher(url, body))
            page = ParsePushContent(body);
        {
            std::lock_guard<std::mutex> g(m_lock);
            m_push = page;
        }
        m_pushDone.set();
    });
}

bool CWebChecks::GetNewVersion(QString& version) const {
    std::lock_guard<std::mutex> g(m_lock);
    if (m_hasNewVersion)
        version = m_newVersion;
    return m_hasNewVersion;
}

PUSH_PAGE CWebChecks::GetPushPage() const {
    std::lock_guard<std::mutex> g(m_lock);
    return m_push;
}

bool CWebChecks::NetworkFetch(const QString& url, QByteArray& body) {
    QNetworkAccessManager manager;
    QNetworkReply* reply = manager.get(QNetworkRequest(QUrl(url)));
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timer.start(15000);
    loop.exec();
    const bool ok = reply->isFinished() && reply->error() == QNetworkReply::NoError;
    if (ok)
        body = reply->readAll();
    reply->abort();
    reply->deleteLater();
    return ok;
}

} // namespace KELCTRL
