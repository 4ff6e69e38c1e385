#pragma once

#include <QDateTime>
#include <QString>

namespace tarlox {

// The rows in work. Each ends in the status of its last operation:
// 0 and empty on success, the failing error's number and text otherwise.

struct OptionsRecord {
    QString companyName;
    qint32 nextName = 0;
    QString version;
    qint32 clientOptions = 0;
    qint32 status = 0;  // 999 inside the connection step, 1 until a row was read, 0 on success
    QString statusText;
};

struct MachineRecord {
    QDateTime createDate;
    QDateTime lastLogin;
    QDateTime lastInterface;
    QString machineName;
    bool scanner = false;
    QString userName;
    qint32 errorNumber = 0;  // 1 from the start of ReadUser until a row was found
    QString errorText;
};

struct InfoRecord {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QDateTime entryDate;
    qint32 imageNumber = 0;
    qint32 errorNumber = 0;
    QString errorText;
};

struct ImageRecord {
    qint32 imageNumber = 0;
    QString path;
    QString volumeId;
    QDateTime entryDate;
    QString size;
    QString type;
    qint32 errorNumber = 0;
    QString errorText;
};

struct ContactRecord {
    QString lastName;
    QString firstName;
    QString companyName;
    QString faxNumber;
    QString email;
    qint32 errorNumber = 0;
    QString errorText;
};

// A reference as lists show it: the Info row with its image's path.
struct InfoRow {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QDateTime entryDate;
    qint32 imageNumber = 0;
    QString path;
};

// Column limits of Info, read from the live schema; 0 means no cut.
struct InfoFieldLengths {
    int heat = 0;
    int part = 0;
    int po = 0;
    int vend = 0;
    int mfg = 0;
};

}  // namespace tarlox
