#include "output/MailClient.h"
#include "output/MailRead.h"
#include "base/TextTools.h"
#include "output/MailSettings.h"
#include "output/SmtpSender.h"
#include "support/MailServers.h"
#include "support/TestSite.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QString Attachment(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes, const char* type)
{
    EXPECT_TRUE(WriteFile(dir.filePath(name), bytes));
    return name + u' ' + QLatin1String(type) + u' '
           + QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

SmtpSettings Local(int port, MailAuthentication authentication = MailAuthentication::None)
{
    SmtpSettings settings;
    settings.server = u"127.0.0.1"_s, settings.port = QString::number(port), settings.authentication = authentication, settings.user = u"fred"_s;
    settings.connectTimeout = std::chrono::seconds(5), settings.responseTimeout = std::chrono::seconds(10), settings.totalTimeout = std::chrono::seconds(20);
    return settings;
}

MailMessage Note(const QString& to = u"buyer@example.com"_s) { return {u"qa@example.com"_s, u"Quality Office"_s, to, u"Buyer"_s, u"Test report"_s, u"See attached."_s, {}}; }

void ExpectFailedWith(const MailSendResult& result, const QString& part)
{
    EXPECT_TRUE(!result.ok() && result.error.contains(part) && result.status.endsWith(u'\n' + kSendFailed + result.error))
        << result.error.toStdString() << '\n' << result.status.toStdString();
}

}  // namespace

// Two worker threads send the same message at once; with the blind copy each
// message reaches the recipient and the sender.
TEST(SmtpSender, DeliversHeadersBodyAndAttachmentsFromWorkerThreads)
{
    SmtpTestServer server({});
    ASSERT_TRUE(server.start()) << server.error().toStdString();
    QTemporaryDir dir;
    QByteArray scan(300000, Qt::Uninitialized);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(scan.data()), scan.size() / 4);
    const QStringList attached{Attachment(dir, u"TR000123.TIF"_s, scan, "image/tiff"),
                               Attachment(dir, u"report.pdf"_s, "%PDF-1.4\n.\r\n..\nno end", "application/pdf")};
    const QString subject = u"Prüfbericht TR000123 – Wärmebehandlung, Charge 4711 / Zeugnis 3.1 nach EN 10204"_s;
    const QString body = u"Guten Tag,\n.\nanbei das Zeugnis für Schmelze Ä-12.\r\n"_s + QString(120, u'x') + u'\n';
    const MailMessage message{u"qa@example.com"_s, u"Quality Office"_s, u"joerg@example.com"_s, u"Müller, Jörg"_s, subject, body,
                              {dir.filePath(u"TR000123.TIF"_s), dir.filePath(u"report.pdf"_s)}};
    SmtpSettings settings = Local(server.port());
    settings.bcc = true;
    const SmtpSender sender(settings);

    MailSendResult results[2];
    QStringList lines[2];
    std::thread first([&] { results[0] = sender.send(message, [&](const QString& line) { lines[0] << line; }); });
    results[1] = sender.send(message, [&](const QString& line) { lines[1] << line; });
    first.join();
    for (int i : {0, 1}) {
        ASSERT_TRUE(results[i].ok()) << results[i].status.toStdString();
        EXPECT_EQ(std::pair(QString(u'\n' + lines[i].join(u'\n')), lines[i].last()), std::pair(results[i].status, kSendSuccessful));
    }
    const QJsonObject expected{{u"from"_s, u"Quality Office <qa@example.com>"_s}, {u"replyTo"_s, u"qa@example.com"_s},
                               {u"to"_s, u"\"Müller, Jörg\" <joerg@example.com>"_s}, {u"bcc"_s, QJsonValue::Null},
                               {u"subject"_s, subject}, {u"defects"_s, 0},
                               {u"body"_s, QString(body).replace(u"\r\n"_s, u"\n"_s)}, {u"files"_s, QJsonArray::fromStringList(attached)}};
    QStringList recipients;
    for (const QString& path : server.messages()) {
        QJsonObject mail = ReadMail(path);
        recipients << mail.take(u"deliveredTo"_s).toString();
        EXPECT_EQ(mail, expected) << QJsonDocument(mail).toJson().toStdString();
    }
    recipients.sort();
    EXPECT_EQ(recipients.join(u','), u"joerg@example.com,joerg@example.com,qa@example.com,qa@example.com"_s);
}

TEST(SmtpSender, StartTlsWithAuthPlainOrLoginKeepsThePasswordOutOfTheStatus)
{
    for (const QString& mechanism : {u"PLAIN"_s, u"LOGIN"_s}) {
        SCOPED_TRACE(mechanism.toStdString());
        SmtpTestServer server({true, u"fred"_s, u"Pa55 word!"_s, mechanism});
        ASSERT_TRUE(server.start()) << server.error().toStdString();
        SmtpSettings settings = Local(server.port(), MailAuthentication::Smtp);
        settings.password = u"Pa55 word!"_s, settings.caFile = server.certificate();
        const MailSendResult result = SmtpSender(settings).send(Note());
        ASSERT_TRUE(result.ok()) << result.status.toStdString();
        EXPECT_TRUE(result.status.contains(u"\nSTARTTLS\n"_s) && result.status.contains(u"\nAUTH "_s + mechanism));
        for (const QByteArray& secret : {"Pa55 word!"_ba, "Pa55 word!"_ba.toBase64(), QByteArray("\0fred\0Pa55 word!", 16).toBase64()})
            EXPECT_FALSE(result.status.contains(QString::fromLatin1(secret))) << result.status.toStdString();
        EXPECT_EQ(server.messages().size(), 1);
    }
}

TEST(SmtpSender, PopLogInBeforeSmtp)
{
    PopTestServer pop(u"fred"_s, u"s3cret"_s);
    ASSERT_TRUE(pop.start()) << pop.error().toStdString();
    SmtpTestServer::Options options;
    options.popLog = pop.logFile();
    SmtpTestServer server(options);
    ASSERT_TRUE(server.start()) << server.error().toStdString();
    // In this order: the server takes mail once any POP log-in has been seen.
    const struct { MailAuthentication authentication; QString password, failure; } rows[] = {  // failure "" for a delivered message
        {MailAuthentication::None, {}, u"530"_s},
        {MailAuthentication::Pop, u"wrong"_s, u"the POP server 127.0.0.1:%1 refused the user name or password"_s.arg(pop.port())},
        {MailAuthentication::Pop, u"s3cret"_s, {}},
    };
    for (const auto& row : rows) {
        SmtpSettings settings = Local(server.port(), row.authentication);
        settings.popServer = u"127.0.0.1:%1"_s.arg(pop.port()), settings.password = row.password;
        const MailSendResult result = SmtpSender(settings).send(Note());
        if (row.failure.isEmpty())
            EXPECT_TRUE(result.ok()) << result.status.toStdString();
        else
            ExpectFailedWith(result, row.failure);
        EXPECT_FALSE(result.status.contains(u"s3cret"_s));
    }
    EXPECT_EQ(server.messages().size(), 1);
}

TEST(SmtpSender, FailuresEndInOneExplainedLineAndOnlyPlausibleAddressesGo)
{
    SmtpTestServer tls({true, u"fred"_s, u"s3cret"_s}), plain({}), silent({.silent = true}), gone({});
    ASSERT_TRUE(tls.start() && plain.start() && silent.start() && gone.start());
    gone.stop();
    MailMessage missingFile = Note();
    missingFile.files = {u"/nonexistent/TR999999.TIF"_s};
    const struct { const char* name; int port; MailAuthentication authentication; MailMessage message; QString failure; } rows[] = {
        {"wrong password", tls.port(), MailAuthentication::Smtp, Note(), u"refused the user name or password"_s},
        {"refused connection", gone.port(), MailAuthentication::None, Note(), u"can't connect to 127.0.0.1 port"_s},
        {"silent server", silent.port(), MailAuthentication::None, Note(), u"no answer from 127.0.0.1"_s},
        {"no STARTTLS for a password", plain.port(), MailAuthentication::Smtp, Note(), u"does not offer an encrypted connection"_s},
        {"empty recipient", plain.port(), MailAuthentication::None, Note(QString()), u"there is no recipient address"_s},
        {"implausible recipient", plain.port(), MailAuthentication::None, Note(u"a@b@c"_s), u"\"a@b@c\" is not a valid"_s},
        {"missing attachment", plain.port(), MailAuthentication::None, missingFile, u"TR999999.TIF can't be read"_s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SmtpSettings settings = Local(row.port, row.authentication);
        settings.password = u"guess"_s, settings.caFile = tls.certificate();
        settings.responseTimeout = std::chrono::seconds(1), settings.totalTimeout = std::chrono::seconds(3);
        QElapsedTimer clock;
        clock.start();
        const MailSendResult result = SmtpSender(settings).send(row.message);
        EXPECT_LT(clock.elapsed(), 15000) << "the timeouts were not honoured";
        ExpectFailedWith(result, row.failure);
        EXPECT_FALSE(result.status.contains(u"\nAUTH"_s) && row.port == plain.port()) << "a password went out in clear";
    }
    EXPECT_TRUE(plain.messages().isEmpty() && tls.messages().isEmpty());

    // The addresses taken at all.
    const QStringList plausible{u"qa@example.com"_s, u"first.last+tag@mail.example.co.uk"_s, u"o'brien@example.com"_s,
                                u"postmaster@localhost"_s};
    const QStringList implausible{u""_s, u"example.com"_s, u"@example.com"_s, u"qa@"_s, u"a@b@example.com"_s,
                                  u"qa @example.com"_s, u"qa@example.com\r\nRCPT"_s, u"first..last@example.com"_s,
                                  u"qa@-example.com"_s, u"\"qa\"@example.com"_s, u"<qa@example.com>"_s, u"jörg@example.com"_s};
    for (const QString& address : plausible + implausible)
        EXPECT_EQ(IsPlausibleMailAddress(address), plausible.contains(address)) << address.toStdString();
}

TEST(MailClient, XdgEmailArgumentsKeepEveryValueWhole)
{
    const QStringList common{u"--utf8"_s, u"--subject"_s, u"Report \"3.1\"; $HOME"_s, u"--body"_s, u"Line 1\n'Line 2'"_s,
                             u"--attach"_s, u"/tmp/a b/TR000001.TIF"_s, u"--attach"_s, u"-odd.pdf"_s};
    const struct { QString address, name; QStringList recipient; } rows[] = {  // recipient: the last argument, or none
        {u"buyer@example.com"_s, u"Jo Buyer"_s, {u"Jo Buyer <buyer@example.com>"_s}},
        {u"buyer@example.com"_s, u"Buyer, Jo \"JB\""_s, {u"\"Buyer, Jo \\\"JB\\\"\" <buyer@example.com>"_s}},
        {u"buyer@example.com"_s, u"--attach x"_s, {u"\"--attach x\" <buyer@example.com>"_s}}, {u"-x@example.com"_s, {}, {u"<-x@example.com>"_s}},
        {u" buyer@example.com "_s, {}, {u"buyer@example.com"_s}}, {QString(), u"Jo"_s, {}}, {u"not an address"_s, {}, {}},
    };
    for (const auto& row : rows) {
        const ProgramCall call = XdgEmailCommand(row.address, row.name, common[2], common[4], {common[6], common[8]});
        EXPECT_EQ(std::pair(call.program, call.arguments), std::pair(u"xdg-email"_s, common + row.recipient));
    }
}

// Stored passwords worked out by hand from the cipher's definition, so that a
// cipher that is wrong the same way in both directions still fails here.
TEST(MailSettings, StoredPasswordsMatchTheCipherTableAndServerSettingsReadTheEmailKeys)
{
    const struct { QString clear, key, stored; } rows[] = {
        {QStringLiteral("secret"), {}, QStringLiteral("lW.lDx")}, {QStringLiteral("Pa55 word!"), QStringLiteral("k"), QStringLiteral("lP^[ck!!M<")},
        {QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcd"), {}, QStringLiteral("US]ORKs`5ZU`ifhGi:.5:5-/:.>'%\\")},
        {QStringLiteral("~~~"), {}, QStringLiteral("\x7f,6")}, {QStringLiteral(" "), QStringLiteral("zz"), QStringLiteral("z")}, {QString(), {}, QString()},
    };
    for (const auto& row : rows)
        EXPECT_EQ(std::pair(Encrypt(row.clear, row.key), Decrypt(row.stored, row.key)), std::pair(row.stored, row.clear)) << row.clear.toStdString();
    const QHash<QString, QString> stored{
        {email::EmailServer, QStringLiteral(" mail.example.com ")}, {email::ServerPort, QString()},
        {email::Authentication, QStringLiteral("POP")},             {email::User, QStringLiteral("fred")},
        {email::Password, QStringLiteral("lW.lDx")},                {email::POPServer, QStringLiteral("pop.example.com:1110")},
        {email::BCC, QStringLiteral("True")},
    };
    const SmtpSettings settings = email::ServerSettings([&](const QString& key) { return stored.value(key); });
    EXPECT_EQ(std::tuple(settings.server, settings.port, settings.authentication, settings.user, settings.password, settings.popServer, settings.bcc),
              std::tuple(QStringLiteral("mail.example.com"), QString(), MailAuthentication::Pop, QStringLiteral("fred"), QStringLiteral("secret"),
                         QStringLiteral("pop.example.com:1110"), true));
    for (const auto& [text, kind] : {std::pair{"SMTP", MailAuthentication::Smtp}, {"None", MailAuthentication::None},
                                     {"", MailAuthentication::None}, {"pop", MailAuthentication::Pop}})
        EXPECT_EQ(MailAuthenticationFrom(QString::fromLatin1(text)), kind) << text;
}
