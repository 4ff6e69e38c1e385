#include "output/MailSettings.h"
#include "base/TextTools.h"

#include <QHash>

#include <gtest/gtest.h>

using namespace tarlox;

// Stored passwords worked out by hand from the cipher's definition, so that a
// cipher that is wrong the same way in both directions still fails here.
TEST(MailSettings, StoredPasswordsMatchTheCipherTable)
{
    const struct {
        QString clear, key, stored;
    } rows[] = {
        {QStringLiteral("secret"), {}, QStringLiteral("lW.lDx")},
        {QStringLiteral("Pa55 word!"), QStringLiteral("k"), QStringLiteral("lP^[ck!!M<")},
        {QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcd"), {}, QStringLiteral("US]ORKs`5ZU`ifhGi:.5:5-/:.>'%\\")},
        {QStringLiteral("~~~"), {}, QStringLiteral("\x7f,6")},
        {QStringLiteral(" "), QStringLiteral("zz"), QStringLiteral("z")},
        {QString(), {}, QString()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Encrypt(row.clear, row.key), row.stored) << row.clear.toStdString();
        EXPECT_EQ(Decrypt(row.stored, row.key), row.clear) << row.clear.toStdString();
    }
}

TEST(MailSettings, ServerSettingsReadTheEmailKeys)
{
    const QHash<QString, QString> stored{
        {email::EmailServer, QStringLiteral(" mail.example.com ")}, {email::ServerPort, QString()},
        {email::Authentication, QStringLiteral("POP")},             {email::User, QStringLiteral("fred")},
        {email::Password, QStringLiteral("lW.lDx")},                {email::POPServer, QStringLiteral("pop.example.com:1110")},
        {email::BCC, QStringLiteral("True")},
    };
    const SmtpSettings settings = email::ServerSettings([&](const QString& key) { return stored.value(key); });
    EXPECT_EQ(settings.server, QStringLiteral("mail.example.com"));
    EXPECT_EQ(settings.port, QString());
    EXPECT_EQ(settings.authentication, MailAuthentication::Pop);
    EXPECT_EQ(settings.user, QStringLiteral("fred"));
    EXPECT_EQ(settings.password, QStringLiteral("secret"));
    EXPECT_EQ(settings.popServer, QStringLiteral("pop.example.com:1110"));
    EXPECT_TRUE(settings.bcc);
    for (const auto& [text, kind] : {std::pair{"SMTP", MailAuthentication::Smtp}, {"None", MailAuthentication::None},
                                     {"", MailAuthentication::None}, {"pop", MailAuthentication::Pop}})
        EXPECT_EQ(MailAuthenticationFrom(QString::fromLatin1(text)), kind) << text;
}
