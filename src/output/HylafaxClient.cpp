#include "output/HylafaxClient.h"

#include "store/TiffReader.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimeZone>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarlox {
namespace {

// The largest retry interval the protocol can carry (MMSS).
constexpr int kMaxRetrySeconds = 99 * 60 + 59;
// A data transfer may take this many times the wait limit in all.
constexpr int kTransferWaits = 20;

struct Reply {
    int code = 0;
    QString text;        // every line of the reply, joined by newlines
    QStringList lines;
    bool ok() const { return code >= 200 && code < 300; }
};

// One logged-in conversation with hfaxd.
class Conversation {
public:
    explicit Conversation(const HylafaxServer& server) : server_(server) {}
    ~Conversation()
    {
        if (socket_.state() == QAbstractSocket::ConnectedState) {
            socket_.write("QUIT\r\n");
            socket_.waitForBytesWritten(1000);
            socket_.disconnectFromHost();
        }
    }

    IoStatus open()
    {
        socket_.connectToHost(server_.host, server_.port);
        if (!socket_.waitForConnected(server_.timeoutMs))
            return Failure(where() % u": can't connect: "_s % socket_.errorString());
        auto greeting = reply();
        if (!greeting)
            return greeting.failure();
        if (greeting->code != 220)
            return refused(u"the greeting"_s, *greeting);
        auto user = command(u"USER "_s % server_.user);
        if (!user)
            return user.failure();
        if (user->code == 331) {
            if (server_.password.isEmpty())
                return Failure(where() % u": the server asks a password of user "_s % server_.user);
            user = command(u"PASS "_s % server_.password);
            if (!user)
                return user.failure();
        }
        if (user->code != 230)
            return refused(u"USER"_s, *user);
        for (const auto& setting : {u"TYPE I"_s, u"MODE S"_s}) {
            auto answer = expect(setting);
            if (!answer)
                return answer.failure();
        }
        return {};
    }

    // Sends a command line and reads its reply.
    IoResult<Reply> command(const QString& line)
    {
        socket_.write(line.toUtf8() + "\r\n");
        if (!flush())
            return Failure(where() % u": can't send "_s % verb(line) % u": "_s % socket_.errorString());
        return reply();
    }

    // A command that must succeed (2xx).
    IoResult<Reply> expect(const QString& line)
    {
        auto answer = command(line);
        if (answer && !answer->ok())
            return refused(verb(line), *answer);
        return answer;
    }

    // Uploads data as a temporary file; the server's name of it.
    IoResult<QString> store(const QByteArray& data)
    {
        QString name;
        auto done = transfer(u"STOT"_s, [&](QTcpSocket& out, const Reply& started) -> IoStatus {
            static const QRegularExpression fileName(u"FILE: (\\S+?)\\)?(\\s|$)"_s);
            const auto match = fileName.match(started.text);
            if (!match.hasMatch())
                return Failure(where() % u": STOT named no file: "_s % started.text);
            name = match.captured(1);
            QDeadlineTimer deadline(qint64(server_.timeoutMs) * kTransferWaits);
            out.write(data);
            while (out.bytesToWrite() > 0) {
                if (deadline.hasExpired() || !out.waitForBytesWritten(server_.timeoutMs))
                    return Failure(where() % u": upload stopped: "_s % out.errorString());
            }
            out.disconnectFromHost();
            if (out.state() != QAbstractSocket::UnconnectedState)
                out.waitForDisconnected(server_.timeoutMs);
            return {};
        });
        if (!done)
            return done.failure();
        return name;
    }

    // The lines of a directory listing (LIST dir) in the formats set before.
    IoResult<QStringList> list(const QString& directory)
    {
        QByteArray data;
        auto done = transfer(u"LIST "_s % directory, [&](QTcpSocket& in, const Reply&) -> IoStatus {
            QDeadlineTimer deadline(qint64(server_.timeoutMs) * kTransferWaits);
            for (;;) {
                data += in.readAll();
                if (in.state() == QAbstractSocket::UnconnectedState)
                    break;
                if (deadline.hasExpired())
                    return Failure(where() % u": the listing of "_s % directory % u" takes too long"_s);
                if (!in.waitForReadyRead(server_.timeoutMs) && in.state() == QAbstractSocket::ConnectedState)
                    return Failure(where() % u": the listing of "_s % directory % u" stopped"_s);
            }
            data += in.readAll();
            return {};
        });
        if (!done)
            return done.failure();
        QStringList lines;
        for (const auto& line : data.split('\n')) {
            auto text = QString::fromUtf8(line);
            if (text.endsWith(u'\r'))
                text.chop(1);
            if (!text.isEmpty())
                lines << text;
        }
        return lines;
    }

    IoError refused(const QString& what, const Reply& answer) const
    {
        return Failure(where() % u": "_s % what % u" refused: "_s % answer.text);
    }

    QString where() const { return u"Fax server "_s % server_.host % u':' % QString::number(server_.port); }

private:
    static QString verb(const QString& line) { return line.section(u' ', 0, 0); }

    // A command over a data connection: its opening reply (150 or 125),
    // move() on the channel, then the closing reply (2xx).
    template <class Move>
    IoStatus transfer(const QString& line, Move move)
    {
        auto channel = openData();
        if (!channel)
            return channel.failure();
        auto started = command(line);
        if (!started)
            return started.failure();
        if (started->code != 150 && started->code != 125)
            return refused(verb(line), *started);
        if (IoStatus moved = move(**channel, *started); !moved)
            return moved;
        auto done = reply();
        if (!done)
            return done.failure();
        if (!done->ok())
            return refused(verb(line), *done);
        return {};
    }

    bool flush()
    {
        while (socket_.bytesToWrite() > 0) {
            if (!socket_.waitForBytesWritten(server_.timeoutMs))
                return false;
        }
        return true;
    }

    IoResult<QString> readLine()
    {
        QDeadlineTimer deadline(server_.timeoutMs);
        while (!socket_.canReadLine()) {
            if (deadline.hasExpired() || !socket_.waitForReadyRead(int(deadline.remainingTime())))
                return Failure(where() % u": no answer ("_s % socket_.errorString() % u')');
        }
        auto line = QString::fromUtf8(socket_.readLine());
        while (line.endsWith(u'\n') || line.endsWith(u'\r'))
            line.chop(1);
        return line;
    }

    // A reply: lines up to the one that starts with three digits and a blank.
    IoResult<Reply> reply()
    {
        static const QRegularExpression last(u"^(\\d{3}) "_s);
        Reply answer;
        for (int count = 0; count < 100000; ++count) {
            auto line = readLine();
            if (!line)
                return line.failure();
            answer.lines << *line;
            const auto match = last.match(*line);
            if (match.hasMatch() || (line->size() == 3 && line->at(0).isDigit())) {
                answer.code = line->left(3).toInt();
                answer.text = answer.lines.join(u'\n');
                return answer;
            }
        }
        return Failure(where() % u": endless reply"_s);
    }

    // A passive data connection, made to the address of the control
    // connection (the address in the PASV reply may be one we can't reach).
    IoResult<std::unique_ptr<QTcpSocket>> openData()
    {
        auto answer = expect(u"PASV"_s);
        if (!answer)
            return answer.failure();
        static const QRegularExpression address(u"(\\d+),(\\d+),(\\d+),(\\d+),(\\d+),(\\d+)"_s);
        const auto match = address.match(answer->text);
        if (!match.hasMatch())
            return Failure(where() % u": PASV gave no address: "_s % answer->text);
        const int port = match.captured(5).toInt() * 256 + match.captured(6).toInt();
        auto data = std::make_unique<QTcpSocket>();
        data->connectToHost(socket_.peerAddress(), quint16(port));
        if (!data->waitForConnected(server_.timeoutMs))
            return Failure(where() % u": no data connection: "_s % data->errorString());
        return data;
    }

    const HylafaxServer& server_;
    QTcpSocket socket_;
};

// One logged-in conversation for talk(server); a server that can't be
// reached or refuses the log-on fails before talk.
template <class Talk>
auto Converse(const HylafaxServer& where, Talk talk) -> decltype(talk(std::declval<Conversation&>()))
{
    Conversation server(where);
    if (auto opened = server.open(); !opened)
        return opened.failure();
    return talk(server);
}

// Commands that must succeed, in order; the first refusal ends them.
IoStatus Expect(Conversation& server, const QStringList& lines)
{
    for (const auto& line : lines)
        if (auto answer = server.expect(line); !answer)
            return answer.failure();
    return {};
}

// A quoted argument: backslash escapes the quote mark and itself.
QString QuotedRaw(QString value)
{
    value.replace(u'\\', u"\\\\"_s);
    value.replace(u'"', u"\\\""_s);
    return u'"' % value % u'"';
}

// A text value for JPARM, with the line breaks and tabs that the server's
// line-per-field job file and our tab-separated listings can't hold turned
// into blanks.
QString Quoted(QString value)
{
    value.replace(u"\r\n"_s, u" "_s);
    for (QChar c : {QChar(u'\r'), QChar(u'\n'), QChar(u'\t')})
        value.replace(c, u' ');
    return QuotedRaw(value);
}

QString MinutesAndSeconds(int seconds)
{
    seconds = std::clamp(seconds, 0, kMaxRetrySeconds);
    return u"%1%2"_s.arg(seconds / 60, 2, 10, QChar(u'0')).arg(seconds % 60, 2, 10, QChar(u'0'));
}

// Days, hours and minutes (DDHHMM); at least one minute.
QString DaysHoursMinutes(int minutes)
{
    minutes = std::clamp(minutes, 1, 99 * 24 * 60 + 23 * 60 + 59);
    return u"%1%2%3"_s.arg(minutes / (24 * 60), 2, 10, QChar(u'0'))
        .arg(minutes / 60 % 24, 2, 10, QChar(u'0'))
        .arg(minutes % 60, 2, 10, QChar(u'0'));
}

// The fields of a job listing line, tab-separated; the status comes last
// as it is the one text the server writes itself.
const QString kJobFormat =
    u"%j\t%a\t%v\t%C\t%R\t%S\t%p\t%y\t%t\t%u\t%d\t%x\t%J\t%Z\t%k\t%m\t%o\t%i\t%r\t%E\t%s"_s;
constexpr int kJobFields = 21;

int CountedPages(const QString& path)
{
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return 0;
    auto reader = TiffReader::open(path);
    return reader ? reader->pageCount() : 0;
}

std::optional<FaxJobInfo> ParseJobLine(const QString& line)
{
    const auto fields = line.split(u'\t');
    if (fields.size() < kJobFields)
        return std::nullopt;
    FaxJobInfo job;
    job.id = fields[0].trimmed();
    job.serverState = fields[1].isEmpty() ? QChar(u'?') : fields[1].at(0);
    job.state = HylafaxClient::StateOf(job.serverState);
    job.number = fields[2];
    job.toCompany = fields[3];
    job.toName = fields[4];
    job.fromName = fields[5];
    job.pagesSent = fields[6].toInt();
    job.pages = fields[7].toInt();
    job.tries = fields[8].toInt();
    job.maxTries = fields[9].toInt();
    job.dials = fields[10].toInt();
    job.maxDials = fields[11].toInt();
    job.tag = fields[12];
    const qint64 tts = fields[13].toLongLong();
    if (tts > 0)
        job.sendTime = QDateTime::fromSecsSinceEpoch(tts, QTimeZone::utc());
    job.killTime = fields[14].trimmed();
    job.modem = fields[15];
    job.owner = fields[16];
    job.priority = fields[17].toInt();
    job.resolution = fields[18].toInt();
    job.signallingRate = fields[19].toInt();
    job.status = fields.mid(20).join(u'\t').trimmed();
    // The server counts pages when it prepares the job for a modem; until
    // then the job file tells.
    if (job.pages == 0)
        job.pages = CountedPages(job.tag);
    return job;
}

QChar StateLetter(const QString& name)
{
    static const QList<std::pair<QString, QChar>> names = {
        {u"SUSPENDED"_s, u'T'}, {u"PENDING"_s, u'P'}, {u"SLEEPING"_s, u'S'}, {u"BLOCKED"_s, u'B'},
        {u"READY"_s, u'W'},     {u"ACTIVE"_s, u'R'},  {u"DONE"_s, u'D'},     {u"FAILED"_s, u'F'},
    };
    for (const auto& [text, letter] : names) {
        if (text == name)
            return letter;
    }
    return u'?';
}

// The reply of a bare JPARM: "    NAME: value" lines.
FaxJobInfo ParseJobState(const QString& id, const Reply& answer)
{
    FaxJobInfo job;
    job.id = id;
    QHash<QString, QString> values;
    for (const auto& line : answer.lines) {
        if (!line.startsWith(u' '))
            continue;
        const auto text = line.trimmed();
        const auto colon = text.indexOf(u':');
        if (colon < 0)
            continue;
        const auto key = text.left(colon);
        const auto value = text.mid(colon + 1).trimmed();
        if (key == u"DOCUMENT"_s || key == u"COVER"_s)
            job.documents << value.section(u' ', 1, 1);
        else
            values.insert(key, value);
    }
    job.serverState = StateLetter(values.value(u"STATE"_s));
    job.state = HylafaxClient::StateOf(job.serverState);
    job.number = values.value(u"DIALSTRING"_s);
    job.toName = values.value(u"TOUSER"_s);
    job.toCompany = values.value(u"TOCOMPANY"_s);
    job.fromName = values.value(u"FROMUSER"_s);
    job.fromCompany = values.value(u"FROMCOMPANY"_s);
    job.subject = values.value(u"REGARDING"_s);
    job.message = values.value(u"COMMENTS"_s);
    job.tag = values.value(u"JOBINFO"_s);
    job.status = values.value(u"STATUS"_s);
    job.modem = values.value(u"MODEM"_s);
    job.owner = values.value(u"OWNER"_s);
    job.pages = values.value(u"TOTPAGES"_s).toInt();
    job.pagesSent = values.value(u"NPAGES"_s).toInt();
    job.tries = values.value(u"TOTTRIES"_s).toInt();
    job.maxTries = values.value(u"MAXTRIES"_s).toInt();
    job.dials = values.value(u"TOTDIALS"_s).toInt();
    job.maxDials = values.value(u"MAXDIALS"_s).toInt();
    job.priority = values.value(u"SCHEDPRI"_s).toInt();
    job.resolution = values.value(u"VRES"_s).toInt();
    const auto sendTime = values.value(u"SENDTIME"_s);
    if (sendTime != u"NOW"_s) {
        job.sendTime = QDateTime::fromString(sendTime, u"yyyyMMddHHmmss"_s);
        job.sendTime.setTimeZone(QTimeZone::utc());  // the server's replies are in GMT
    }
    if (job.pages == 0)
        job.pages = CountedPages(job.tag);
    return job;
}

}  // namespace

HylafaxClient::HylafaxClient(HylafaxServer server) : server_(std::move(server)) {}

FaxState HylafaxClient::StateOf(QChar serverState)
{
    switch (serverState.unicode()) {
    case u'R':
        return FaxState::Sending;
    case u'D':
        return FaxState::Sent;
    case u'F':
        return FaxState::Failed;
    default:  // T, P, S, B, W: waiting, sleeping, blocked or suspended
        return FaxState::Pending;
    }
}

IoResult<QString> HylafaxClient::submit(const FaxJob& job)
{
    if (job.faxNumber.trimmed().isEmpty())
        return Failure(u"The fax has no number to dial."_s);
    if (job.documents.isEmpty())
        return Failure(u"The fax has no pages."_s);
    return Converse(server_, [&](Conversation& server) -> IoResult<QString> {
        QStringList uploaded;
        for (const auto& path : job.documents) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                return Failure(u"Can't read "_s % path % u": "_s % file.errorString());
            auto name = server.store(file.readAll());
            if (!name)
                return name.failure();
            uploaded << *name;
        }

        auto created = server.expect(u"JNEW"_s);
        if (!created)
            return created.failure();
        static const QRegularExpression jobId(u"jobid: (\\d+)"_s);
        const auto match = jobId.match(created->text);
        if (!match.hasMatch())
            return Failure(server.where() % u": JNEW gave no job id: "_s % created->text);
        const QString id = match.captured(1);

        QStringList lines = {
            u"FROMUSER "_s % Quoted(job.fromName.isEmpty() ? server_.user : job.fromName),
            u"DIALSTRING "_s % Quoted(job.faxNumber.trimmed()),
            u"NOTIFY NONE"_s,
            u"MAXTRIES "_s % QString::number(std::clamp(job.retries, 1, 255)),
            u"LASTTIME "_s % DaysHoursMinutes(job.killMinutes),
        };
        const QList<std::pair<QString, QString>> texts = {
            {u"TOUSER"_s, job.toName},          {u"TOCOMPANY"_s, job.toCompany},
            {u"FROMCOMPANY"_s, job.fromCompany}, {u"FROMVOICE"_s, job.voiceNumber},
            {u"FAXNUMBER"_s, job.fromFaxNumber}, {u"TSI"_s, job.stationId},
            {u"REGARDING"_s, job.subject},      {u"COMMENTS"_s, job.message},
            {u"JOBINFO"_s, job.jobFile},
        };
        for (const auto& [name, value] : texts) {
            if (!value.isEmpty())
                lines << name % u' ' % Quoted(value);
        }
        if (job.retryInterval > 0)
            lines << u"RETRYTIME "_s % MinutesAndSeconds(job.retryInterval);
        for (const auto& name : uploaded)
            lines << u"DOCUMENT "_s % name;
        for (auto& line : lines)
            line.prepend(u"JPARM "_s);
        if (auto built = Expect(server, lines << u"JSUBM "_s % id); !built) {
            (void)server.command(u"JDELE "_s % id);  // the half-built job goes
            return built.failure();
        }
        return id;
    });
}

IoResult<QList<FaxJobInfo>> HylafaxClient::listJobs(FaxState view)
{
    return Converse(server_, [&](Conversation& server) -> IoResult<QList<FaxJobInfo>> {
        if (auto format = Expect(server, {u"JOBFMT "_s % QuotedRaw(kJobFormat)}); !format)
            return format.failure();
        const bool done = view == FaxState::Sent || view == FaxState::Failed;
        auto lines = server.list(done ? u"doneq"_s : u"sendq"_s);
        if (!lines)
            return lines.failure();
        QList<FaxJobInfo> jobs;
        for (const auto& line : *lines) {
            auto job = ParseJobLine(line);
            if (job && job->state == view)
                jobs << *job;
        }
        std::sort(jobs.begin(), jobs.end(),
                  [](const FaxJobInfo& a, const FaxJobInfo& b) { return a.id.toLongLong() < b.id.toLongLong(); });
        return jobs;
    });
}

IoResult<FaxJobInfo> HylafaxClient::job(const QString& id)
{
    return Converse(server_, [&](Conversation& server) -> IoResult<FaxJobInfo> {
        if (auto current = Expect(server, {u"JOB "_s % id}); !current)
            return current.failure();
        auto state = server.expect(u"JPARM"_s);
        if (!state)
            return state.failure();
        return ParseJobState(id, *state);
    });
}

IoStatus HylafaxClient::kill(const QString& id)
{
    return Converse(server_, [&](Conversation& server) { return Expect(server, {u"JKILL "_s % id}); });
}

// A job is suspended in one conversation and changed in a second: hfaxd
// keeps what it read of a job and looks at the job file again only when the
// file's time (in whole seconds) has moved on, so in the same conversation
// the scheduler's change may go unseen.
IoStatus HylafaxClient::remove(const QString& id)
{
    const IoStatus suspended = Converse(server_, [&](Conversation& server) -> IoStatus {
        auto answer = server.command(u"JSUSP "_s % id);
        if (!answer)
            return answer.failure();
        // 504 "already done": a job of the done queue goes as it is.
        if (!answer->ok() && answer->code != 504)
            return server.refused(u"JSUSP"_s, *answer);
        return {};
    });
    if (!suspended)
        return suspended;
    return Converse(server_, [&](Conversation& server) { return Expect(server, {u"JDELE "_s % id}); });
}

IoStatus HylafaxClient::alter(const QString& id, const FaxJobChange& change)
{
    if (IoStatus suspended = Converse(server_, [&](Conversation& server) { return Expect(server, {u"JSUSP "_s % id}); }); !suspended)
        return suspended;
    QStringList parameters;
    if (change.faxNumber)
        parameters << u"DIALSTRING "_s % Quoted(change.faxNumber->trimmed());
    if (change.retries)
        parameters << u"MAXTRIES "_s % QString::number(std::clamp(*change.retries, 1, 255));
    if (change.retryInterval)
        parameters << u"RETRYTIME "_s % MinutesAndSeconds(*change.retryInterval);
    if (change.killMinutes)
        parameters << u"LASTTIME "_s % DaysHoursMinutes(*change.killMinutes);
    if (change.toName)
        parameters << u"TOUSER "_s % Quoted(*change.toName);
    if (change.toCompany)
        parameters << u"TOCOMPANY "_s % Quoted(*change.toCompany);
    for (auto& parameter : parameters)
        parameter.prepend(u"JPARM "_s);
    return Converse(server_, [&](Conversation& server) -> IoStatus {
        if (auto current = Expect(server, {u"JOB "_s % id}); !current)
            return current;
        const IoStatus changed = Expect(server, parameters);
        // The job goes back to the queue even when a change was refused.
        const IoStatus submitted = Expect(server, {u"JSUBM "_s % id});
        return changed ? submitted : changed;
    });
}

IoResult<QList<FaxDevice>> HylafaxClient::devices()
{
    return Converse(server_, [&](Conversation& server) -> IoResult<QList<FaxDevice>> {
        if (auto format = Expect(server, {u"MDMFMT "_s % QuotedRaw(u"%m\t%n\t%z\t%s"_s)}); !format)
            return format.failure();
        auto lines = server.list(u"status"_s);
        if (!lines)
            return lines.failure();
        QList<FaxDevice> devices;
        for (const auto& line : *lines) {
            const auto fields = line.split(u'\t');
            if (fields.size() < 4)
                continue;  // the scheduler's own line
            devices << FaxDevice{fields[0], fields[1], fields.mid(3).join(u'\t'), fields[2] == u"*"_s};
        }
        return devices;
    });
}

}  // namespace tarlox
