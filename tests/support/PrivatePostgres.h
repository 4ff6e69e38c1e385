#pragma once

#include <QString>
#include <QTemporaryDir>

namespace tarlox::test {

// A PostgreSQL server of a test's own, to stop and start at will (the shared
// test server must stay up for the other tests).
class PrivatePostgres {
public:
    PrivatePostgres();
    ~PrivatePostgres();
    bool start();
    bool stop();
    // "host=127.0.0.1 port=N user=postgres", valid after the first start.
    QString connInfo() const { return connInfo_; }
    int port() const { return port_; }
    bool createDatabase(const QString& name) const;

private:
    bool run(const QStringList& arguments) const;
    QTemporaryDir dir_;
    QString connInfo_;
    int port_ = 0;
};

}  // namespace tarlox::test
