#include "output/SmtpSender.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUuid>

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace tarlox {

namespace {

void InitCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct EasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct MimeDeleter {
    void operator()(curl_mime* mime) const { curl_mime_free(mime); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Easy = std::unique_ptr<CURL, EasyDeleter>;
using Mime = std::unique_ptr<curl_mime, MimeDeleter>;
using List = std::unique_ptr<curl_slist, ListDeleter>;

void Append(List& list, const QByteArray& line)
{
    curl_slist* grown = curl_slist_append(list.get(), line.constData());
    if (grown) {
        (void)list.release();
        list.reset(grown);
    }
}

// --- Headers ---------------------------------------------------------------

bool IsAscii(const QString& text)
{
    for (QChar c : text)
        if (c.unicode() > 126)
            return false;
    return true;
}

QString OneLine(QString text)
{
    text.replace(QRegularExpression(QStringLiteral("[\\r\\n\\t]+")), QStringLiteral(" "));
    return text.trimmed();
}

// Encoded words of at most 75 characters, never splitting a UTF-8 sequence.
QByteArray EncodedWords(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    QByteArray result;
    qsizetype at = 0;
    while (at < utf8.size()) {
        qsizetype end = std::min(at + 45, utf8.size());
        while (end < utf8.size() && end > at + 1 && (uchar(utf8[end]) & 0xC0) == 0x80)
            --end;
        if (!result.isEmpty())
            result += "\r\n ";
        result += "=?UTF-8?B?" + utf8.mid(at, end - at).toBase64() + "?=";
        at = end;
    }
    return result;
}

// A display name or a subject. A phrase (a display name) is quoted when it
// holds characters that mean something in an address header.
QByteArray HeaderText(const QString& raw, bool phrase)
{
    const QString text = OneLine(raw);
    if (!IsAscii(text))
        return EncodedWords(text);
    if (phrase && text.contains(QRegularExpression(QStringLiteral("[()<>\\[\\]:;@\\\\,.\"]")))) {
        QString quoted = text;
        quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
        return '"' + quoted.toLatin1() + '"';
    }
    return text.toLatin1();
}

QByteArray Mailbox(const QString& name, const QString& address)
{
    if (OneLine(name).isEmpty())
        return address.toLatin1();
    return HeaderText(name, true) + " <" + address.toLatin1() + '>';
}

QString MimeType(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"tif" || suffix == u"tiff")
        return QStringLiteral("image/tiff");
    if (suffix == u"pdf")
        return QStringLiteral("application/pdf");
    return QStringLiteral("application/octet-stream");
}

QByteArray CrLf(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text.toUtf8().replace("\n", "\r\n");
}

// --- The conversation --------------------------------------------------------

// Collects the status lines of one send; the debug callback feeds it the
// command and reply lines with every secret masked.
struct Conversation {
    const SmtpSender::StatusLine& onStatus;
    QString status;
    QString lastError;        // the last reply that refused something
    bool secretNext = false;  // the server asked for a log-in value

    void add(const QString& line)
    {
        status += QLatin1Char('\n') + line;
        if (onStatus)
            onStatus(line);
    }
};

QString Masked(const QString& line, bool secret)
{
    if (secret)
        return QStringLiteral("****");
    const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString command = words.value(0).toUpper();
    if (command == u"AUTH" && words.size() > 2)
        return words[0] + u' ' + words[1] + QStringLiteral(" ****");
    if (command == u"PASS" || (command == u"APOP" && words.size() > 2))
        return words[0] + (command == u"APOP" ? u' ' + words[1] : QString()) + QStringLiteral(" ****");
    return line;
}

int OnDebug(CURL*, curl_infotype type, char* data, size_t size, void* context)
{
    if (type != CURLINFO_HEADER_IN && type != CURLINFO_HEADER_OUT)
        return 0;
    auto& talk = *static_cast<Conversation*>(context);
    const QString text = QString::fromUtf8(data, qsizetype(size));
    for (const QString& line : text.split(QRegularExpression(QStringLiteral("\\r?\\n")), Qt::SkipEmptyParts)) {
        if (type == CURLINFO_HEADER_IN) {
            if (line.startsWith(u'4') || line.startsWith(u'5') || line.startsWith(QLatin1String("-ERR")))
                talk.lastError = line;
            talk.secretNext = line.startsWith(QLatin1String("334"))
                             || (line.startsWith(QLatin1Char('+')) && !line.startsWith(QLatin1String("+OK")));
            talk.add(line);
        } else {
            talk.add(Masked(line, talk.secretNext));
            talk.secretNext = false;
        }
    }
    return 0;
}

void CommonOptions(CURL* curl, const SmtpSettings& settings, Conversation& talk, char* errors)
{
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errors);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, long(settings.connectTimeout.count()));
    curl_easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, long((settings.responseTimeout.count() + 999) / 1000));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(settings.totalTimeout.count()));
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, OnDebug);
    curl_easy_setopt(curl, CURLOPT_DEBUGDATA, &talk);
    if (!settings.caFile.isEmpty())
        curl_easy_setopt(curl, CURLOPT_CAINFO, settings.caFile.toLocal8Bit().constData());
}

QString Explain(CURLcode code, const char* errors, const QString& where, const Conversation& talk)
{
    const QString detail = QString::fromUtf8(*errors ? errors : curl_easy_strerror(code));
    QString text;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: text = QStringLiteral("the server name %1 is unknown").arg(where); break;
    case CURLE_COULDNT_CONNECT: text = QStringLiteral("can't connect to %1 (%2)").arg(where, detail); break;
    case CURLE_OPERATION_TIMEDOUT: text = QStringLiteral("no answer from %1 in time (%2)").arg(where, detail); break;
    case CURLE_USE_SSL_FAILED:
        text = QStringLiteral("%1 does not offer an encrypted connection (STARTTLS), and the password is never sent in clear").arg(where);
        break;
    case CURLE_LOGIN_DENIED: text = QStringLiteral("%1 refused the user name or password").arg(where); break;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CONNECT_ERROR: text = QStringLiteral("no trusted encrypted connection to %1 (%2)").arg(where, detail); break;
    case CURLE_READ_ERROR: text = QStringLiteral("an attachment can't be read (%1)").arg(detail); break;
    default:
        text = talk.lastError.isEmpty() ? QStringLiteral("%1 (%2)").arg(detail, where)
                                        : QStringLiteral("%1 answered \"%2\"").arg(where, talk.lastError);
        return text;
    }
    if (code == CURLE_LOGIN_DENIED && !talk.lastError.isEmpty())
        text += QStringLiteral(" (\"%1\")").arg(talk.lastError);
    return text;
}

QString Refusal(const MailMessage& message, const SmtpSettings& settings)
{
    if (message.toAddress.trimmed().isEmpty())
        return QStringLiteral("there is no recipient address");
    if (!IsPlausibleMailAddress(message.toAddress))
        return QStringLiteral("\"%1\" is not a valid e-mail address").arg(message.toAddress);
    if (message.fromAddress.trimmed().isEmpty())
        return QStringLiteral("there is no sender address");
    if (!IsPlausibleMailAddress(message.fromAddress))
        return QStringLiteral("\"%1\" is not a valid e-mail address").arg(message.fromAddress);
    if (settings.server.trimmed().isEmpty())
        return QStringLiteral("no e-mail server is set");
    if (settings.authentication == MailAuthentication::Pop && settings.popServer.trimmed().isEmpty())
        return QStringLiteral("no POP server is set");
    bool numeric = true;
    const int port = settings.port.trimmed().toInt(&numeric);
    if (!settings.port.trimmed().isEmpty() && (!numeric || port < 1 || port > 65535))
        return QStringLiteral("the server port \"%1\" is not a port number").arg(settings.port);
    for (const QString& file : message.files)
        if (!QFileInfo(file).isFile() || !QFileInfo(file).isReadable())
            return QStringLiteral("the attachment %1 can't be read").arg(file);
    return {};
}

// The log-in of POP-before-SMTP: log in, list, log out. STARTTLS when offered.
CURLcode PopLogIn(const SmtpSettings& settings, Conversation& talk, char* errors)
{
    Easy pop(curl_easy_init());
    if (!pop)
        return CURLE_FAILED_INIT;
    CommonOptions(pop.get(), settings, talk, errors);
    curl_easy_setopt(pop.get(), CURLOPT_URL, (QStringLiteral("pop3://") + settings.popServer.trimmed() + u'/').toUtf8().constData());
    curl_easy_setopt(pop.get(), CURLOPT_USE_SSL, long(CURLUSESSL_TRY));
    curl_easy_setopt(pop.get(), CURLOPT_USERNAME, settings.user.toUtf8().constData());
    curl_easy_setopt(pop.get(), CURLOPT_PASSWORD, settings.password.toUtf8().constData());
    curl_easy_setopt(pop.get(), CURLOPT_NOBODY, 1L);
    return curl_easy_perform(pop.get());
}

// Envelope, headers and MIME parts of one message, alive until the send ends.
struct Composed {
    List recipients;
    List headers;
    Mime mime;
};

void Compose(CURL* curl, const MailMessage& message, bool bcc, Composed& composed)
{
    const QByteArray from = message.fromAddress.toLatin1();
    const QByteArray envelopeFrom = '<' + from + '>';
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, envelopeFrom.constData());
    Append(composed.recipients, '<' + message.toAddress.toLatin1() + '>');
    if (bcc)
        Append(composed.recipients, envelopeFrom);
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, composed.recipients.get());

    List& headers = composed.headers;
    Append(headers, "Date: " + QDateTime::currentDateTime().toString(Qt::RFC2822Date).toLatin1());
    Append(headers, "From: " + Mailbox(message.fromName, message.fromAddress));
    Append(headers, "Reply-To: " + from);
    Append(headers, "To: " + Mailbox(message.toName, message.toAddress));
    Append(headers, "Subject: " + HeaderText(message.subject, false));
    Append(headers, "Message-ID: <" + QUuid::createUuid().toString(QUuid::WithoutBraces).toLatin1() + '@'
                        + from.mid(from.indexOf('@') + 1) + '>');
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());

    composed.mime.reset(curl_mime_init(curl));
    const QByteArray body = CrLf(message.body);
    curl_mimepart* text = curl_mime_addpart(composed.mime.get());
    curl_mime_data(text, body.constData(), size_t(body.size()));
    curl_mime_type(text, "text/plain; charset=UTF-8");
    curl_mime_encoder(text, "quoted-printable");
    for (const QString& file : message.files) {
        curl_mimepart* part = curl_mime_addpart(composed.mime.get());
        curl_mime_filedata(part, QFile::encodeName(file).constData());
        curl_mime_filename(part, QFileInfo(file).fileName().toUtf8().constData());
        curl_mime_type(part, MimeType(file).toLatin1().constData());
        curl_mime_encoder(part, "base64");
    }
    curl_easy_setopt(curl, CURLOPT_MIMEPOST, composed.mime.get());
}

}  // namespace

MailAuthentication MailAuthenticationFrom(const QString& text)
{
    const QString kind = text.trimmed().toUpper();
    if (kind == u"SMTP")
        return MailAuthentication::Smtp;
    if (kind == u"POP")
        return MailAuthentication::Pop;
    return MailAuthentication::None;
}

bool IsPlausibleMailAddress(const QString& address)
{
    static const QRegularExpression plain(QStringLiteral(
        "^[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+(\\.[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+)*"
        "@[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?)*$"));
    return address.size() <= 254 && address.indexOf(u'@') <= 64 && plain.match(address).hasMatch();
}

SmtpSender::SmtpSender(SmtpSettings settings) : settings_(std::move(settings)) {}

MailSendResult SmtpSender::send(const MailMessage& message, const StatusLine& onStatus) const
{
    InitCurlOnce();
    Conversation talk{onStatus, {}, {}, false};
    const auto fail = [&](const QString& explanation) {
        talk.add(kSendFailed + explanation);
        return MailSendResult{talk.status, explanation};
    };
    if (const QString refusal = Refusal(message, settings_); !refusal.isEmpty())
        return fail(refusal);
    char errors[CURL_ERROR_SIZE] = {};

    if (settings_.authentication == MailAuthentication::Pop) {
        const QString popHost = settings_.popServer.trimmed();
        talk.add(QStringLiteral("Logging in to the POP server ") + popHost);
        if (const CURLcode code = PopLogIn(settings_, talk, errors); code != CURLE_OK)
            return fail(Explain(code, errors, QStringLiteral("the POP server ") + popHost, talk));
        talk.lastError.clear();
    }

    const QString host = settings_.server.trimmed();
    const int port = settings_.port.trimmed().isEmpty() ? 25 : settings_.port.trimmed().toInt();
    const QString where = QStringLiteral("%1 port %2").arg(host).arg(port);
    talk.add(QStringLiteral("Connecting to ") + where);
    Composed composed;  // outlives the handle that points at it
    Easy curl(curl_easy_init());
    if (!curl)
        return fail(Explain(CURLE_FAILED_INIT, errors, where, talk));
    CommonOptions(curl.get(), settings_, talk, errors);
    const QString scheme = port == 465 ? QStringLiteral("smtps://") : QStringLiteral("smtp://");
    curl_easy_setopt(curl.get(), CURLOPT_URL, QStringLiteral("%1%2:%3").arg(scheme, host).arg(port).toUtf8().constData());
    // STARTTLS whenever offered; a password goes over an encrypted line or not at all.
    const bool sendsPassword = settings_.authentication == MailAuthentication::Smtp;
    curl_easy_setopt(curl.get(), CURLOPT_USE_SSL, long(sendsPassword ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    if (sendsPassword) {
        curl_easy_setopt(curl.get(), CURLOPT_USERNAME, settings_.user.toUtf8().constData());
        curl_easy_setopt(curl.get(), CURLOPT_PASSWORD, settings_.password.toUtf8().constData());
    }
    Compose(curl.get(), message, settings_.bcc, composed);
    if (const CURLcode code = curl_easy_perform(curl.get()); code != CURLE_OK)
        return fail(Explain(code, errors, where, talk));
    talk.add(kSendSuccessful);
    return MailSendResult{talk.status, {}};
}

}  // namespace tarlox
