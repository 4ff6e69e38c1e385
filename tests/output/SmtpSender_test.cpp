#include "output/MailClient.h"
#include "output/SmtpSender.h"
#include "support/MailServers.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// Reads a delivered message with Python's own mail parser, so that what
// counts is how a real mail reader decodes it.
QJsonObject ReadMail(const QString& path)
{
    static const char* script = R"(
import email, email.policy, hashlib, json, sys
m = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=email.policy.default)
print(json.dumps({
  'deliveredTo': m['Delivered-To'], 'from': m['From'], 'replyTo': m['Reply-To'], 'to': m['To'],
  'subject': m['Subject'], 'bcc': m['Bcc'] or '', 'defects': len(m.defects),
  'body': m.get_body(('plain',)).get_content(),
  'files': [{'name': p.get_filename(), 'type': p.get_content_type(),
             'sha256': hashlib.sha256(p.get_content()).hexdigest()} for p in m.iter_attachments()]}))
)";
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QString::fromUtf8(script), path});
    python.waitForFinished(30000);
    return QJsonDocument::fromJson(python.readAllStandardOutput()).object();
}

QString Sha256(const QByteArray& bytes) { return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()); }

QString WriteFile(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes)
{
    QFile file(dir.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    return file.fileName();
}

SmtpSettings Local(int port, MailAuthentication authentication = MailAuthentication::None)
{
    SmtpSettings settings;
    settings.server = QStringLiteral("127.0.0.1");
    settings.port = QString::number(port);
    settings.authentication = authentication;
    settings.connectTimeout = std::chrono::seconds(5);
    settings.responseTimeout = std::chrono::seconds(10);
    settings.totalTimeout = std::chrono::seconds(20);
    return settings;
}

MailMessage Note(const QString& to = QStringLiteral("buyer@example.com"))
{
    return {QStringLiteral("qa@example.com"), QStringLiteral("Quality Office"), to, QStringLiteral("Buyer"),
            QStringLiteral("Test report"), QStringLiteral("See attached."), {}};
}

void ExpectFailedWith(const MailSendResult& result, const QString& part)
{
    EXPECT_FALSE(result.ok()) << result.status.toStdString();
    EXPECT_TRUE(result.error.contains(part)) << result.error.toStdString();
    EXPECT_TRUE(result.status.endsWith(u'\n' + kSendFailed + result.error)) << result.status.toStdString();
}

}  // namespace

TEST(SmtpSender, DeliversHeadersBodyAndAttachmentsWithBlindCopyToSender)
{
    SmtpTestServer server({});
    ASSERT_TRUE(server.start()) << server.error().toStdString();
    QTemporaryDir dir;
    QByteArray scan(300000, Qt::Uninitialized);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(scan.data()), scan.size() / 4);
    const QByteArray pdf = "%PDF-1.4\n.\r\n..\nlast line without end";
    const QStringList files{WriteFile(dir, QStringLiteral("TR000123.TIF"), scan), WriteFile(dir, QStringLiteral("report.pdf"), pdf)};

    SmtpSettings settings = Local(server.port());
    settings.bcc = true;
    const QString subject = QStringLiteral("Prüfbericht TR000123 – Wärmebehandlung, Charge 4711 / Zeugnis 3.1 nach EN 10204");
    const QString body = QStringLiteral("Guten Tag,\n.\nanbei das Zeugnis für Schmelze Ä-12.\r\n") + QString(120, u'x') + u'\n';
    const MailMessage message{QStringLiteral("qa@example.com"), QStringLiteral("Quality Office"),
                              QStringLiteral("joerg@example.com"), QStringLiteral("Müller, Jörg"), subject, body, files};
    QStringList lines;
    const MailSendResult result = SmtpSender(settings).send(message, [&](const QString& line) { lines << line; });

    ASSERT_TRUE(result.ok()) << result.status.toStdString();
    EXPECT_EQ(u'\n' + lines.join(u'\n'), result.status);
    EXPECT_EQ(lines.last(), kSendSuccessful);
    const QStringList delivered = server.messages();
    ASSERT_EQ(delivered.size(), 2);
    QStringList recipients;
    for (const QString& path : delivered) {
        const QJsonObject mail = ReadMail(path);
        recipients << mail[u"deliveredTo"].toString();
        EXPECT_EQ(mail[u"defects"].toInt(), 0);
        EXPECT_EQ(mail[u"from"].toString(), QStringLiteral("Quality Office <qa@example.com>"));
        EXPECT_EQ(mail[u"replyTo"].toString(), QStringLiteral("qa@example.com"));
        EXPECT_EQ(mail[u"to"].toString(), QStringLiteral("\"Müller, Jörg\" <joerg@example.com>"));
        EXPECT_EQ(mail[u"bcc"].toString(), QString());
        EXPECT_EQ(mail[u"subject"].toString(), subject);
        EXPECT_EQ(mail[u"body"].toString(), QString(body).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        const QJsonArray attached = mail[u"files"].toArray();
        ASSERT_EQ(attached.size(), 2);
        EXPECT_EQ(attached[0][u"name"].toString(), QStringLiteral("TR000123.TIF"));
        EXPECT_EQ(attached[0][u"type"].toString(), QStringLiteral("image/tiff"));
        EXPECT_EQ(attached[0][u"sha256"].toString(), Sha256(scan));
        EXPECT_EQ(attached[1][u"name"].toString(), QStringLiteral("report.pdf"));
        EXPECT_EQ(attached[1][u"sha256"].toString(), Sha256(pdf));
    }
    recipients.sort();
    EXPECT_EQ(recipients, QStringList({QStringLiteral("joerg@example.com"), QStringLiteral("qa@example.com")}));
}

TEST(SmtpSender, SendsFromSeveralWorkerThreadsAtOnce)
{
    SmtpTestServer server({});
    ASSERT_TRUE(server.start()) << server.error().toStdString();
    const SmtpSender sender(Local(server.port()));
    std::vector<MailSendResult> results(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&, i] { results[i] = sender.send(Note(QStringLiteral("buyer%1@example.com").arg(i))); });
    for (std::thread& thread : threads)
        thread.join();
    for (const MailSendResult& result : results)
        EXPECT_TRUE(result.ok()) << result.error.toStdString();
    EXPECT_EQ(server.messages().size(), 4);
}

TEST(SmtpSender, StartTlsWithAuthPlainOrLoginKeepsThePasswordOutOfTheStatus)
{
    for (const QString& mechanism : {QStringLiteral("PLAIN"), QStringLiteral("LOGIN")}) {
        SCOPED_TRACE(mechanism.toStdString());
        SmtpTestServer server({true, QStringLiteral("fred"), QStringLiteral("Pa55 word!"), mechanism});
        ASSERT_TRUE(server.start()) << server.error().toStdString();
        SmtpSettings settings = Local(server.port(), MailAuthentication::Smtp);
        settings.user = QStringLiteral("fred");
        settings.password = QStringLiteral("Pa55 word!");
        settings.caFile = server.certificate();
        const MailSendResult result = SmtpSender(settings).send(Note());
        ASSERT_TRUE(result.ok()) << result.status.toStdString();
        EXPECT_TRUE(result.status.contains(QStringLiteral("STARTTLS")));
        EXPECT_TRUE(result.status.contains(QStringLiteral("AUTH ") + mechanism));
        for (const QByteArray& secret : {QByteArray("Pa55 word!"), QByteArray("Pa55 word!").toBase64(),
                                        QByteArray("\0fred\0Pa55 word!", 16).toBase64()})
            EXPECT_FALSE(result.status.contains(QString::fromLatin1(secret))) << result.status.toStdString();
        EXPECT_EQ(server.messages().size(), 1);
    }
}

TEST(SmtpSender, PopLogInBeforeSmtp)
{
    PopTestServer pop(QStringLiteral("fred"), QStringLiteral("s3cret"));
    ASSERT_TRUE(pop.start()) << pop.error().toStdString();
    SmtpTestServer::Options options;
    options.popLog = pop.logFile();
    SmtpTestServer server(options);
    ASSERT_TRUE(server.start()) << server.error().toStdString();

    struct Row {
        MailAuthentication authentication;
        QString password;
        QString failure;  // "" for a delivered message
    };
    // In this order: the server takes mail once any POP log-in has been seen.
    const Row rows[] = {
        {MailAuthentication::None, {}, QStringLiteral("530")},
        {MailAuthentication::Pop, QStringLiteral("wrong"), QStringLiteral("refused the user name or password")},
        {MailAuthentication::Pop, QStringLiteral("s3cret"), {}},
    };
    for (const Row& row : rows) {
        SmtpSettings settings = Local(server.port(), row.authentication);
        settings.popServer = QStringLiteral("127.0.0.1:%1").arg(pop.port());
        settings.user = QStringLiteral("fred");
        settings.password = row.password;
        const MailSendResult result = SmtpSender(settings).send(Note());
        if (row.failure.isEmpty())
            EXPECT_TRUE(result.ok()) << result.status.toStdString();
        else
            ExpectFailedWith(result, row.failure);
        EXPECT_FALSE(result.status.contains(QStringLiteral("s3cret")));
    }
    EXPECT_EQ(server.messages().size(), 1);
}

TEST(SmtpSender, FailuresEndInOneExplainedLine)
{
    SmtpTestServer tls({true, QStringLiteral("fred"), QStringLiteral("s3cret")});
    SmtpTestServer plain({});
    SmtpTestServer::Options silentOptions;
    silentOptions.silent = true;
    SmtpTestServer silent(silentOptions);
    ASSERT_TRUE(tls.start() && plain.start() && silent.start());
    int closedPort = 0;
    {
        SmtpTestServer gone({});
        ASSERT_TRUE(gone.start());
        closedPort = gone.port();
    }
    QTemporaryDir dir;

    struct Row {
        const char* name;
        int port;
        MailAuthentication authentication;
        QString password;
        MailMessage message;
        QString failure;
    };
    MailMessage missingFile = Note();
    missingFile.files = {dir.filePath(QStringLiteral("TR999999.TIF"))};
    const Row rows[] = {
        {"wrong password", tls.port(), MailAuthentication::Smtp, QStringLiteral("guess"), Note(), QStringLiteral("refused the user name or password")},
        {"refused connection", closedPort, MailAuthentication::None, {}, Note(), QStringLiteral("can't connect to 127.0.0.1 port")},
        {"silent server", silent.port(), MailAuthentication::None, {}, Note(), QStringLiteral("no answer from 127.0.0.1")},
        {"no STARTTLS for a password", plain.port(), MailAuthentication::Smtp, QStringLiteral("s3cret"), Note(), QStringLiteral("STARTTLS")},
        {"empty recipient", plain.port(), MailAuthentication::None, {}, Note(QString()), QStringLiteral("there is no recipient address")},
        {"implausible recipient", plain.port(), MailAuthentication::None, {}, Note(QStringLiteral("a@b@c")), QStringLiteral("\"a@b@c\" is not a valid")},
        {"missing attachment", plain.port(), MailAuthentication::None, {}, missingFile, QStringLiteral("TR999999.TIF can't be read")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SmtpSettings settings = Local(row.port, row.authentication);
        settings.user = QStringLiteral("fred");
        settings.password = row.password;
        settings.caFile = tls.certificate();
        settings.responseTimeout = std::chrono::seconds(1);
        settings.totalTimeout = std::chrono::seconds(3);
        QElapsedTimer clock;
        clock.start();
        const MailSendResult result = SmtpSender(settings).send(row.message);
        EXPECT_LT(clock.elapsed(), 15000) << "the timeouts were not honoured";
        ExpectFailedWith(result, row.failure);
        EXPECT_FALSE(result.status.contains(QStringLiteral("AUTH")) && row.port == plain.port());
    }
    EXPECT_TRUE(plain.messages().isEmpty());
    EXPECT_TRUE(tls.messages().isEmpty());
}

TEST(SmtpSender, PlausibleAddresses)
{
    const struct {
        const char* address;
        bool plausible;
    } rows[] = {
        {"qa@example.com", true},          {"first.last+tag@mail.example.co.uk", true},
        {"o'brien@example.com", true},     {"postmaster@localhost", true},
        {"", false},                       {"example.com", false},
        {"@example.com", false},           {"qa@", false},
        {"a@b@example.com", false},        {"qa @example.com", false},
        {"qa@example.com\r\nRCPT", false}, {"first..last@example.com", false},
        {"qa@-example.com", false},        {"\"qa\"@example.com", false},
        {"<qa@example.com>", false},       {"jörg@example.com", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsPlausibleMailAddress(QString::fromUtf8(row.address)), row.plausible) << row.address;
}

TEST(MailClient, XdgEmailArgumentsKeepEveryValueWhole)
{
    const QStringList files{QStringLiteral("/tmp/a b/TR000001.TIF"), QStringLiteral("-odd.pdf")};
    const struct {
        QString address, name;
        QStringList recipient;  // the last argument, or none
    } rows[] = {
        {QStringLiteral("buyer@example.com"), QStringLiteral("Jo Buyer"), {QStringLiteral("Jo Buyer <buyer@example.com>")}},
        {QStringLiteral("buyer@example.com"), QStringLiteral("Buyer, Jo \"JB\""), {QStringLiteral("\"Buyer, Jo \\\"JB\\\"\" <buyer@example.com>")}},
        {QStringLiteral("buyer@example.com"), QStringLiteral("--attach x"), {QStringLiteral("\"--attach x\" <buyer@example.com>")}},
        {QStringLiteral("-x@example.com"), {}, {QStringLiteral("<-x@example.com>")}},
        {QStringLiteral(" buyer@example.com "), {}, {QStringLiteral("buyer@example.com")}},
        {QString(), QStringLiteral("Jo"), {}},
        {QStringLiteral("not an address"), {}, {}},
    };
    for (const auto& row : rows) {
        const ProgramCall call = XdgEmailCommand(row.address, row.name, QStringLiteral("Report \"3.1\"; $HOME"),
                                                 QStringLiteral("Line 1\n'Line 2'"), files);
        EXPECT_EQ(call.program, QStringLiteral("xdg-email"));
        EXPECT_EQ(call.arguments, QStringList({QStringLiteral("--utf8"), QStringLiteral("--subject"), QStringLiteral("Report \"3.1\"; $HOME"),
                                               QStringLiteral("--body"), QStringLiteral("Line 1\n'Line 2'"), QStringLiteral("--attach"),
                                               files[0], QStringLiteral("--attach"), files[1]})
                                      + row.recipient);
    }
}
