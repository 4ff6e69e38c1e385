#include "capture/BarcodeReader.h"

#include "store/PageImage.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <cmath>

namespace tarlox {

QString BarcodePage::text() const
{
    QString joined;
    for (const BarcodeCode& code : codes)
        joined += code.text + QLatin1Char('\t');
    return joined;
}

QList<BarcodeCode> InReadingOrder(QList<BarcodeCode> codes)
{
    std::stable_sort(codes.begin(), codes.end(),
                     [](const BarcodeCode& a, const BarcodeCode& b) { return a.area.top() < b.area.top(); });
    QList<BarcodeCode> ordered;
    for (qsizetype start = 0; start < codes.size();) {
        // A row: the codes that overlap the first one's height by half the smaller height.
        const QRect first = codes[start].area;
        qsizetype end = start + 1;
        while (end < codes.size()) {
            const QRect next = codes[end].area;
            const int overlap = std::min(first.bottom(), next.bottom()) - next.top();
            if (overlap < std::min(first.height(), next.height()) / 2)
                break;
            ++end;
        }
        QList<BarcodeCode> row = codes.mid(start, end - start);
        std::stable_sort(row.begin(), row.end(),
                         [](const BarcodeCode& a, const BarcodeCode& b) { return a.area.left() < b.area.left(); });
        ordered += row;
        start = end;
    }
    return ordered;
}

namespace {

// The request for one page: "page DPI\n" and a netpbm image, P4 for black
// and white (the store's bit 1 black is PBM's sense), P5 for anything else.
QByteArray PageRequest(const QImage& page)
{
    const Dpi dpi = DpiOf(page);
    const int dots = dpi.y > 0 ? int(std::lround(dpi.y)) : int(kDefaultDpi);
    QByteArray request = "page " + QByteArray::number(dots) + '\n';
    if (IsBlackAndWhite(page)) {
        const QImage mono = ToStoreMono(page);
        const int rowBytes = (mono.width() + 7) / 8;
        request += "P4\n" + QByteArray::number(mono.width()) + ' ' + QByteArray::number(mono.height()) + '\n';
        request.reserve(request.size() + qsizetype(rowBytes) * mono.height());
        for (int y = 0; y < mono.height(); ++y)
            request.append(reinterpret_cast<const char*>(mono.constScanLine(y)), rowBytes);
        return request;
    }
    const QImage grey = FlattenOnWhite(page).convertToFormat(QImage::Format_Grayscale8);
    request += "P5\n" + QByteArray::number(grey.width()) + ' ' + QByteArray::number(grey.height()) + "\n255\n";
    request.reserve(request.size() + qsizetype(grey.width()) * grey.height());
    for (int y = 0; y < grey.height(); ++y)
        request.append(reinterpret_cast<const char*>(grey.constScanLine(y)), grey.width());
    return request;
}

// The codes of a complete answer; nothing while the answer is incomplete.
// An answer that can't be understood gives an empty list with ok false.
struct Answer {
    bool complete = false;
    bool ok = true;
    int partsLost = 0;
    QList<BarcodeCode> codes;
};

Answer ParseAnswer(const QByteArray& output)
{
    Answer answer;
    const QList<QByteArray> lines = output.split('\n');
    if (lines.size() < 2)
        return answer;  // not even the first line yet
    const QList<QByteArray> head = lines[0].split(' ');
    bool numeric = false;
    const bool known = (head.size() == 2 || (head.size() == 4 && head[2] == "lost")) && head[0] == "codes";
    const int count = known ? head[1].toInt(&numeric) : 0;
    answer.partsLost = head.size() == 4 ? head[3].toInt() : 0;
    if (!numeric || count < 0) {
        answer.complete = true;
        answer.ok = false;
        return answer;
    }
    if (lines.size() < count + 2)
        return answer;  // the last line read is still incomplete
    answer.complete = true;
    for (int i = 1; i <= count; ++i) {
        const QList<QByteArray> fields = lines[i].split(' ');
        if (fields.size() != 6) {
            answer.ok = false;
            return answer;
        }
        const QPoint topLeft(fields[1].toInt(), fields[2].toInt());
        const QPoint bottomRight(fields[3].toInt(), fields[4].toInt());
        answer.codes.append({QString::fromLatin1(fields[0]), QString::fromUtf8(QByteArray::fromHex(fields[5])),
                             QRect(topLeft, bottomRight)});
    }
    return answer;
}

}  // namespace

BarcodeReader::BarcodeReader(QString helperPath, int timeoutMs)
    : helperPath_(helperPath.isEmpty() ? DefaultHelperPath() : std::move(helperPath)), timeoutMs_(timeoutMs)
{
}

BarcodeReader::~BarcodeReader()
{
    stopHelper();
}

QString BarcodeReader::DefaultHelperPath()
{
    const QString configured = qEnvironmentVariable("TARLOX_BARCODE_HELPER");
    if (!configured.isEmpty())
        return configured;
    // Beside the program in a build; in the package's libexec folder once installed.
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString beside = programs.filePath(QStringLiteral("tarlox-barcode"));
    const QString installed = programs.filePath(QStringLiteral("../libexec/tarlox/tarlox-barcode"));
    return QFileInfo::exists(beside) || !QFileInfo::exists(installed) ? beside : QDir::cleanPath(installed);
}

qint64 BarcodeReader::helperProcessId() const
{
    return helper_ && helper_->state() == QProcess::Running ? helper_->processId() : 0;
}

bool BarcodeReader::startHelper(QString& note)
{
    if (helper_ && helper_->state() == QProcess::Running)
        return true;
    stopHelper();
    helper_ = std::make_unique<QProcess>();
    helper_->setProgram(helperPath_);
    helper_->start(QIODevice::ReadWrite);
    if (helper_->waitForStarted(timeoutMs_))
        return true;
    note = QStringLiteral("The barcode reader %1 could not be started: %2").arg(helperPath_, helper_->errorString());
    helper_.reset();
    return false;
}

void BarcodeReader::stopHelper()
{
    if (!helper_)
        return;
    if (helper_->state() != QProcess::NotRunning) {
        helper_->closeWriteChannel();  // the helper ends at the end of its input
        if (!helper_->waitForFinished(1000)) {
            helper_->kill();
            helper_->waitForFinished(1000);
        }
    }
    helper_.reset();
}

BarcodePage BarcodeReader::failed(const QString& note)
{
    if (!helper_)
        return BarcodePage{{}, note};
    if (helper_->state() != QProcess::NotRunning) {
        helper_->kill();
        helper_->waitForFinished(1000);
    }
    // The decoder's last words, if it had any (an assertion names its place).
    const QString said = QString::fromLocal8Bit(helper_->readAllStandardError()).trimmed().section(QLatin1Char('\n'), -1);
    helper_.reset();
    return BarcodePage{{}, said.isEmpty() ? note : note + QStringLiteral(" (") + said + QLatin1Char(')')};
}

BarcodePage BarcodeReader::read(const QImage& page)
{
    if (page.isNull())
        return BarcodePage{};
    QString note;
    if (!startHelper(note))
        return BarcodePage{{}, note};

    const QDeadlineTimer deadline(timeoutMs_);
    const QString stopped = QStringLiteral("The barcode reader stopped on this page; its barcodes were not read.");
    const QString late = QStringLiteral("The barcode reader took more than %1 seconds on this page; its barcodes were not read.")
                             .arg(timeoutMs_ / 1000.0);
    helper_->write(PageRequest(page));
    while (helper_->bytesToWrite() > 0) {
        if (helper_->state() != QProcess::Running)
            return failed(stopped);
        if (deadline.hasExpired())
            return failed(late);
        helper_->waitForBytesWritten(int(std::max<qint64>(1, deadline.remainingTime())));
    }

    QByteArray output;
    for (;;) {
        output += helper_->readAllStandardOutput();
        const Answer answer = ParseAnswer(output);
        if (answer.complete && !answer.ok)
            return failed(QStringLiteral("The barcode reader gave an answer that can't be read; the page's barcodes were not read."));
        if (answer.complete && answer.partsLost > 0)
            return BarcodePage{InReadingOrder(answer.codes),
                               QStringLiteral("The barcode reader failed on part of this page; some of its barcodes may be missing.")};
        if (answer.complete)
            return BarcodePage{InReadingOrder(answer.codes), {}};
        if (helper_->state() != QProcess::Running)
            return failed(stopped);
        if (deadline.hasExpired())
            return failed(late);
        helper_->waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime())));
    }
}

}  // namespace tarlox
