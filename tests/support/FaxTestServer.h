#pragma once

#include <QString>
#include <QTemporaryDir>

namespace tarlox::test {

// A private HylaFAX server (faxq + hfaxd, tests/support/hylafax.sh) on
// loopback for the whole test program, started by the first test that asks
// for it and stopped by PID at the end. It runs only as root.
class FaxTestServer {
public:
    // The one server of this program; nullptr, with skipReason() set, when
    // it can't run here.
    static FaxTestServer* Get();
    static QString skipReason();

    quint16 port() const { return port_; }
    // "127.0.0.1:PORT", as key FaxServer takes it.
    QString address() const;
    QString spool() const { return dir_.path() + QStringLiteral("/spool"); }
    // The scheduler's file of a job in queue ("sendq", "doneq"): "name:value" lines.
    QString queueFile(const QString& queue, const QString& id) const;

    ~FaxTestServer();

private:
    bool start();
    QTemporaryDir dir_;
    quint16 port_ = 0;
    bool started_ = false;
};

// A loopback port that nothing listens on.
quint16 ClosedPort();

}  // namespace tarlox::test
