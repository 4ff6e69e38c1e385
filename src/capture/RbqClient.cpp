#include "capture/RbqClient.h"

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <optional>

namespace tarlox {

namespace {

QString KeyText(const BarcodeKey& key)
{
    return QStringLiteral("%1/%2/%3/%4").arg(key.purchaseOrder).arg(key.receipt).arg(key.line).arg(key.tag);
}

bool SameKey(const BarcodeKey& a, const BarcodeKey& b)
{
    return a.receipt == b.receipt && a.line == b.line && a.tag == b.tag
        && a.purchaseOrder.trimmed().compare(b.purchaseOrder.trimmed(), Qt::CaseInsensitive) == 0;
}

class NoRbqClient : public RbqClient {
public:
    QString client() const override { return {}; }
    IoResult<RbqLine> lookUp(const BarcodeKey& key) override { return RbqLine{key, {}, {}, {}, {}}; }
    IoStatus update(const BarcodeKey&, qint32) override { return {}; }
    IoStatus finish() override { return {}; }
};

class CsvRbqClient : public RbqClient {
public:
    CsvRbqClient(QString setting, QString file)
        : setting_(std::move(setting))
        , file_(std::move(file))
    {
    }
    QString client() const override { return setting_; }

    IoResult<RbqLine> lookUp(const BarcodeKey& key) override
    {
        if (!lines_) {
            const IoStatus loaded = load();
            if (!loaded)
                return loaded.failure();
        }
        for (const RbqLine& line : *lines_)
            if (SameKey(line.key, key))
                return line;
        return Failure(QStringLiteral("%1 is not in %2").arg(KeyText(key), file_));
    }

    IoStatus update(const BarcodeKey& key, qint32 imageNumber) override
    {
        QFile log(file_ + QStringLiteral(".log"));
        if (!log.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
            return Failure(QStringLiteral("Can't write %1: %2").arg(log.fileName(), log.errorString()));
        const QString po = key.purchaseOrder.contains(QLatin1Char(',')) ? QLatin1Char('"') + key.purchaseOrder + QLatin1Char('"')
                                                                        : key.purchaseOrder;
        const QByteArray entry = QStringLiteral("%1,%2,%3,%4,%5,%6\n")
                                     .arg(QDateTime::currentDateTime().toString(Qt::ISODate), po)
                                     .arg(key.receipt)
                                     .arg(key.line)
                                     .arg(key.tag)
                                     .arg(imageNumber)
                                     .toUtf8();
        if (log.write(entry) != entry.size() || !log.flush())
            return Failure(QStringLiteral("Can't write %1: %2").arg(log.fileName(), log.errorString()));
        return {};
    }

    // The file is read again at the next pass, so edits between passes count.
    IoStatus finish() override
    {
        lines_.reset();
        return {};
    }

private:
    IoStatus load()
    {
        QFile file(file_);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return Failure(QStringLiteral("Can't read %1: %2").arg(file_, file.errorString()));
        QList<RbqLine> lines;
        QTextStream in(&file);
        while (!in.atEnd()) {
            const QString text = in.readLine();
            if (text.trimmed().isEmpty())
                continue;
            QStringList f = SplitCsvLine(text);
            while (f.size() < 8)
                f.append(QString());
            const auto number = [](const QString& t) { return qint16(t.toShort()); };
            lines.append(RbqLine{{f[0], number(f[1]), number(f[2]), number(f[3])}, f[4], f[5], f[6], f[7]});
        }
        lines_ = std::move(lines);
        return {};
    }

    QString setting_;
    QString file_;
    std::optional<QList<RbqLine>> lines_;
};

class CommandRbqClient : public RbqClient {
public:
    CommandRbqClient(QString setting, QStringList command)
        : setting_(std::move(setting))
        , command_(std::move(command))
    {
    }
    QString client() const override { return setting_; }

    IoResult<RbqLine> lookUp(const BarcodeKey& key) override
    {
        IoResult<QByteArray> out = run(QStringList{QStringLiteral("lookup")} + keyArguments(key));
        if (!out)
            return out.failure();
        RbqLine line{key, {}, {}, {}, {}};
        for (const QByteArray& raw : out->split('\n')) {
            const QString text = QString::fromUtf8(raw).trimmed();
            const qsizetype equals = text.indexOf(QLatin1Char('='));
            if (equals <= 0)
                continue;
            const QString name = text.left(equals).trimmed().toLower();
            const QString value = text.mid(equals + 1).trimmed();
            if (name == QLatin1String("heat"))
                line.heat = value;
            else if (name == QLatin1String("part"))
                line.part = value;
            else if (name == QLatin1String("vendor"))
                line.vendor = value;
            else if (name == QLatin1String("manufacturer") || name == QLatin1String("mfg"))
                line.manufacturer = value;
            else if (name == QLatin1String("po"))
                line.key.purchaseOrder = value;
            else if (name == QLatin1String("receipt"))
                line.key.receipt = qint16(value.toShort());
            else if (name == QLatin1String("line"))
                line.key.line = qint16(value.toShort());
            else if (name == QLatin1String("tag"))
                line.key.tag = qint16(value.toShort());
        }
        return line;
    }

    IoStatus update(const BarcodeKey& key, qint32 imageNumber) override
    {
        IoResult<QByteArray> out = run(QStringList{QStringLiteral("update")} + keyArguments(key) + QStringList{QString::number(imageNumber)});
        return out ? IoStatus() : IoStatus(out.failure());
    }

    IoStatus finish() override
    {
        IoResult<QByteArray> out = run({QStringLiteral("finish")});
        return out ? IoStatus() : IoStatus(out.failure());
    }

private:
    static QStringList keyArguments(const BarcodeKey& key)
    {
        return {key.purchaseOrder, QString::number(key.receipt), QString::number(key.line), QString::number(key.tag)};
    }

    IoResult<QByteArray> run(const QStringList& arguments)
    {
        QProcess process;
        process.start(command_.first(), command_.mid(1) + arguments);
        if (!process.waitForStarted(kRbqCommandTimeoutMs))
            return Failure(QStringLiteral("Can't run %1: %2").arg(command_.first(), process.errorString()));
        process.closeWriteChannel();
        if (!process.waitForFinished(kRbqCommandTimeoutMs)) {
            process.kill();
            process.waitForFinished(1000);
            return Failure(QStringLiteral("%1 %2 did not finish in %3 seconds")
                               .arg(command_.first(), arguments.first())
                               .arg(kRbqCommandTimeoutMs / 1000));
        }
        if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
            QString why = QString::fromUtf8(process.readAllStandardError()).trimmed().section(QLatin1Char('\n'), 0, 0);
            if (why.isEmpty())
                why = QStringLiteral("exit code %1").arg(process.exitCode());
            return Failure(QStringLiteral("%1 %2: %3").arg(command_.first(), arguments.first(), why));
        }
        return process.readAllStandardOutput();
    }

    QString setting_;
    QStringList command_;
};

}  // namespace

std::unique_ptr<RbqClient> MakeRbqClient(const QString& setting, QString* note)
{
    const QString value = setting.trimmed();
    const QString kind = value.section(QLatin1Char(':'), 0, 0).trimmed().toLower();
    const QString rest = value.section(QLatin1Char(':'), 1).trimmed();
    if (kind == QLatin1String("csv") && !rest.isEmpty())
        return std::make_unique<CsvRbqClient>(value, rest);
    if (kind == QLatin1String("cmd") && !rest.isEmpty()) {
        const QStringList command = QProcess::splitCommand(rest);
        if (!command.isEmpty())
            return std::make_unique<CommandRbqClient>(value, command);
    }
    if (note && !value.isEmpty() && value.compare(QLatin1String("none"), Qt::CaseInsensitive) != 0)
        *note = QStringLiteral("RBQClient \"%1\" is neither csv:FILE nor cmd:PROGRAM; no business system is used.").arg(value);
    return std::make_unique<NoRbqClient>();
}

}  // namespace tarlox
