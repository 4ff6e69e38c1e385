#include "shell/forms/frmInfo.h"

#include "data/OptionsData.h"
#include "shell/forms/TagBinder.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "support/TestSite.h"
#include "support/FormControls.h"
#include "support/SystemTexts.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString ini(const QString& path, const char* section, const char* key)
{
    return ReadIniValue(path, QLatin1String(section), QLatin1String(key)).value;
}

template <class W> W* tagged(QWidget* form, const char* name, const char* tag)
{
    auto* w = new W(form);
    w->setObjectName(QLatin1String(name));
    w->setProperty("tag", QString::fromUtf8(tag));
    form->layout()->addWidget(w);
    return w;
}

class Settings : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
    }
    TestSite site;
};

}  // namespace

// Every kind of control the binder knows, on a form of its own.
TEST_F(Settings, EachControlKindRoundTripsThroughTheBinder)
{
    Session& s = site.session();
    auto build = [&](QWidget& form) {
        form.setLayout(new QVBoxLayout);
        tagged<QLineEdit>(&form, "txtLine", "Section=Info,Item=LineKey");
        tagged<QTextEdit>(&form, "txtRich", "Section=Info,Item=RichKey");
        tagged<QPlainTextEdit>(&form, "txtPlain", "Section=Custom,Item=PlainKey");
        tagged<QCheckBox>(&form, "chkFlag", "Section=Info,Item=FlagKey");
        tagged<QRadioButton>(&form, "optA", "Section=Info,Item=Choice,Value=A");
        tagged<QRadioButton>(&form, "optB", "Section=Info,Item=Choice,Value=B");
        tagged<QCheckBox>(&form, "chkBit", "Section=ClientOptions,Item=3");
        tagged<QLineEdit>(&form, "txtFree", "FromWidth=330");  // no section: not bound
    };
    QWidget form;
    build(form);
    TagBinder binder(s, &form);
    EXPECT_EQ(binder.boundControls().size(), 7);
    binder.LoadFields();
    bool changed = false;
    child<QLineEdit>(&form, "txtLine")->setText(QStringLiteral("one"));
    child<QTextEdit>(&form, "txtRich")->setPlainText(QStringLiteral("two"));
    child<QPlainTextEdit>(&form, "txtPlain")->setPlainText(QStringLiteral("three"));
    child<QCheckBox>(&form, "chkFlag")->setChecked(true);
    child<QRadioButton>(&form, "optB")->setChecked(true);
    child<QCheckBox>(&form, "chkBit")->setChecked(true);
    binder.CheckFields(changed);
    EXPECT_TRUE(changed);
    ASSERT_TRUE(binder.SaveFields());

    for (const auto& [section, key, value] : {std::tuple{"Info", "LineKey", "one"}, {"Info", "RichKey", "two"}, {"Custom", "PlainKey", "three"},
                                              {"Info", "FlagKey", "True"}, {"Info", "Choice", "B"}, {"ClientOptions", "3", ""}})
        EXPECT_EQ(ini(site.localIni(), section, key), QString::fromUtf8(value)) << key;
    // The bit went to the Options row, where another machine reads it.
    ScriptedPrompter otherPrompter;
    auto other = site.openAnother(otherPrompter);
    ASSERT_TRUE(ReadOptions(*other));
    EXPECT_EQ(other->options.clientOptions, 4);

    QWidget again;
    build(again);
    TagBinder reloaded(s, &again);
    reloaded.LoadFields();
    EXPECT_EQ(child<QTextEdit>(&again, "txtRich")->toPlainText(), QStringLiteral("two"));
    EXPECT_EQ(child<QPlainTextEdit>(&again, "txtPlain")->toPlainText(), QStringLiteral("three"));
    EXPECT_TRUE(child<QRadioButton>(&again, "optB")->isChecked());
    EXPECT_TRUE(child<QCheckBox>(&again, "chkBit")->isChecked());
    changed = false;
    reloaded.CheckFields(changed);
    EXPECT_FALSE(changed);

    // Clearing the bit clears only that bit.
    s.options.clientOptions = 4 | 1;
    ASSERT_TRUE(UpdateOptions(s));
    again.findChild<QCheckBox*>(QStringLiteral("chkBit"))->setChecked(false);
    ASSERT_TRUE(reloaded.SaveFields());
    ASSERT_TRUE(ReadOptions(*other));
    EXPECT_EQ(other->options.clientOptions, 1);
}

TEST_F(Settings, PasswordIsStoredEnciphered)
{
    Session& s = site.session();
    {
        frmInfo screen(s);
        child<QLineEdit>(screen, "txtEmailPassword")->setText(QStringLiteral("Pa55 word!"));
        EXPECT_TRUE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());
        screen.cmdApply_Click();
        EXPECT_FALSE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());
    }
    const QString stored = ini(site.localIni(), "Email", "Password");
    EXPECT_EQ(stored, Encrypt(QStringLiteral("Pa55 word!")));
    EXPECT_NE(stored, QStringLiteral("Pa55 word!"));
    // The file that holds it is its owner's alone, and stays so when written again.
    const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    EXPECT_EQ(QFile::permissions(site.localIni()) & others, QFileDevice::Permissions());
    PutLocal(s, QStringLiteral("Email"), QStringLiteral("Subject"), QStringLiteral("x"));
    EXPECT_EQ(QFile::permissions(site.localIni()) & others, QFileDevice::Permissions());

    frmInfo screen(s);
    EXPECT_EQ(child<QLineEdit>(screen, "txtEmailPassword")->text(), QStringLiteral("Pa55 word!"));
    bool changed = false;
    screen.binder()->CheckFields(changed);
    EXPECT_FALSE(changed);
    EXPECT_FALSE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());
}

TEST_F(Settings, NeverStoredCheckBoxSavesFalse)
{
    Session& s = site.session();
    ASSERT_EQ(ini(site.localIni(), "Email", "BCC"), QString());
    frmInfo screen(s);
    EXPECT_FALSE(child<QCheckBox>(screen, "chkBCC")->isChecked());
    // The fields that show a default keep the stored value empty until saved.
    EXPECT_EQ(child<QLineEdit>(screen, "txtFindRecs")->text(), QStringLiteral("100"));
    EXPECT_EQ(ini(site.localIni(), "Info", "FindRecords"), QString());
    screen.cmdOK_Click();
    EXPECT_EQ(ini(site.localIni(), "Email", "BCC"), QStringLiteral("False"));
    EXPECT_EQ(ini(site.localIni(), "Info", "FindRecords"), QStringLiteral("100"));
}

TEST_F(Settings, DriveMapList)
{
    Session& s = site.session();
    frmInfo screen(s);
    ScriptedPrompter& asked = site.prompter();
    QComboBox* box = child<QComboBox>(screen, "cboDrvMap");
    auto type = [&](const char* text) {
        box->setCurrentIndex(box->count() - 1);
        box->setEditText(QString::fromUtf8(text));
        return screen.cboDrvMap_LostFocus();
    };
    EXPECT_FALSE(type("F=1"));  // the entry rules themselves are SettingsRules' table
    EXPECT_EQ(asked.asked().size(), 1);
    EXPECT_TRUE(screen.drvMapEntries().isEmpty());
    EXPECT_TRUE(type("f=c"));
    EXPECT_TRUE(type("G=D"));
    EXPECT_TRUE(type("G=D")) << "an entry already there is not added twice";
    EXPECT_TRUE(type("/srv/tarlox/=/mnt/tarlox"));
    EXPECT_EQ(screen.drvMapEntries(), (QStringList{QStringLiteral("F=C"), QStringLiteral("G=D"), QStringLiteral("/srv/tarlox=/mnt/tarlox")}));
    EXPECT_EQ(box->itemText(box->count() - 1), QString()) << "one empty entry at the end";

    // Editing an entry replaces it; emptying it removes it.
    box->setCurrentIndex(2);
    box->setEditText(QString());
    EXPECT_TRUE(screen.cboDrvMap_LostFocus());
    box->setCurrentIndex(1);
    box->setEditText(QStringLiteral("h=e"));
    EXPECT_TRUE(screen.cboDrvMap_LostFocus());
    EXPECT_EQ(screen.drvMapEntries(), (QStringList{QStringLiteral("F=C"), QStringLiteral("H=E")}));
    EXPECT_EQ(box->count(), 3);

    box->setCurrentIndex(1);
    box->setEditText(QStringLiteral("G=D"));
    EXPECT_TRUE(screen.cboDrvMap_LostFocus());
    screen.cmdApply_Click();
    EXPECT_EQ(ini(site.localIni(), "Info", "DrvMap"), QStringLiteral("F=CG=D"));
    EXPECT_EQ(s.drvMap, QStringLiteral("F=CG=D"));
    EXPECT_FALSE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());

    frmInfo again(s);
    EXPECT_EQ(again.drvMapEntries(), (QStringList{QStringLiteral("F=C"), QStringLiteral("G=D")}));
}

TEST_F(Settings, NextImageNumberReachesTheOptionsRow)
{
    Session& s = site.session();
    frmInfo screen(s);
    EXPECT_EQ(child<QLineEdit>(screen, "txtNxtimg")->text(), QStringLiteral("1"));
    EXPECT_EQ(ini(site.localIni(), "Info", "NextName"), QStringLiteral("1"));
    child<QLineEdit>(screen, "txtNxtimg")->setText(QStringLiteral("4711"));
    screen.cmdApply_Click();

    ScriptedPrompter otherPrompter;
    auto other = site.openAnother(otherPrompter);
    ASSERT_TRUE(ReadOptions(*other));
    EXPECT_EQ(other->options.nextName, 4711);

    // A screen opened before another machine went on puts the counter back
    // to what it showed: taking the next number repairs that against the images.
    frmInfo fresh(s);
    other->options.nextName = 4800;
    ASSERT_TRUE(UpdateOptions(*other));
    child<QLineEdit>(fresh, "txtPOShort")->setText(QStringLiteral("Order #"));
    fresh.cmdApply_Click();
    ASSERT_TRUE(ReadOptions(*other));
    EXPECT_EQ(other->options.nextName, 4711);
    // ... and the session takes the new field names at once.
    EXPECT_EQ(s.poShort, QStringLiteral("Order #"));
}

TEST_F(Settings, FieldChecks)
{
    Session& s = site.session();
    ScriptedPrompter& asked = site.prompter();
    frmInfo screen(s);

    child<QLineEdit>(screen, "txtFontSize")->setText(QStringLiteral("99"));
    screen.txtFontSize_LostFocus();
    EXPECT_EQ(child<QLineEdit>(screen, "txtFontSize")->text(), QStringLiteral("36"));
    child<QLineEdit>(screen, "txtBright")->setText(QStringLiteral("-4000"));
    screen.txtBright_LostFocus();
    EXPECT_EQ(child<QLineEdit>(screen, "txtBright")->text(), QStringLiteral("-1000"));
    child<QLineEdit>(screen, "txtHighDPI")->setText(QString());
    child<QLineEdit>(screen, "txtHighDPI")->setFocus();
    child<QLineEdit>(screen, "txtHighDPI")->insert(QStringLiteral("12000"));
    emit child<QLineEdit>(screen, "txtHighDPI")->textEdited(child<QLineEdit>(screen, "txtHighDPI")->text());
    EXPECT_EQ(child<QLineEdit>(screen, "txtHighDPI")->text(), QStringLiteral("9999"));

    child<QLineEdit>(screen, "txtDefaultPages")->setText(QStringLiteral("1-3"));
    EXPECT_FALSE(screen.txtDefaultPages_Validate());
    EXPECT_TRUE(asked.wasAsked(QStringLiteral("Invalid Pages")));
    EXPECT_EQ(child<QLineEdit>(screen, "txtDefaultPages")->text(), QString());
    child<QLineEdit>(screen, "txtDefaultPages")->setText(QStringLiteral("all"));
    EXPECT_TRUE(screen.txtDefaultPages_Validate());

    child<QLineEdit>(screen, "txtTmpDir")->clear();
    EXPECT_FALSE(screen.txtTmpDir_Validate());
    EXPECT_EQ(asked.textOf(QStringLiteral("Enter a Temporary Directory")), texts::TempDirRequired);
    const QString fresh = site.path(QStringLiteral("TEMP2/work"));
    child<QLineEdit>(screen, "txtTmpDir")->setText(fresh);
    asked.answer(Answer::No);
    EXPECT_FALSE(screen.txtTmpDir_Validate());
    EXPECT_FALSE(QFileInfo(fresh).isDir());
    asked.answer(Answer::Yes);
    EXPECT_TRUE(screen.txtTmpDir_Validate());
    EXPECT_TRUE(QFileInfo(fresh).isDir());
    EXPECT_EQ(asked.textOf(QStringLiteral("Create Temporary Directory")), texts::CreateTempDir);

    // The stamp file must load as an image.
    const QString junk = site.path(QStringLiteral("stamp.pcx"));
    QFile file(junk);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not an image at all");
    file.close();
    child<QLineEdit>(screen, "txtAuthorizationStamp")->setText(junk);
    EXPECT_FALSE(screen.txtAuthorizationStamp_Validate());
    EXPECT_EQ(asked.textOf(QStringLiteral("Stamp File")), texts::InvalidStampFile);
    EXPECT_EQ(child<QLineEdit>(screen, "txtAuthorizationStamp")->text(), QString());
    const QString good = site.path(QStringLiteral("stamp.bmp"));
    QImage stamp(40, 20, QImage::Format_Mono);
    stamp.fill(0);
    ASSERT_TRUE(stamp.save(good, "BMP"));
    child<QLineEdit>(screen, "txtAuthorizationStamp")->setText(good);
    EXPECT_TRUE(screen.txtAuthorizationStamp_Validate());
    child<QLineEdit>(screen, "txtAuthorizationStamp")->setText(site.path(QStringLiteral("missing.bmp")));
    EXPECT_FALSE(screen.txtAuthorizationStamp_Validate());
}

// Each row: the switch set, then the controls it turns on and off.
TEST_F(Settings, DependentControlsFollowTheirSwitches)
{
    frmInfo screen(site.session());
    child<QCheckBox>(screen, "chkEmailClient")->setChecked(false);
    const struct {
        const char* set;
        std::vector<const char*> on, off;
    } rows[] = {
        {"optAuthorization_2", {"txtAuthorizationStamp", "cmdAuthorizationStamp"}, {"txtAuthorizationText"}},
        {"optAuthorization_1", {"txtAuthorizationText"}, {"txtAuthorizationStamp"}},
        {"optAuthorization_0", {}, {"txtAuthorizationStamp", "txtAuthorizationText"}},
        {"optEmailAuth_1", {"fraEmailServer"}, {"txtEmailUser", "txtEmailPassword", "txtEmailPOP"}},  // None
        {"optEmailAuth_0", {"txtEmailUser", "txtEmailPassword"}, {"txtEmailPOP"}},                     // SMTP
        {"optEmailAuth_2", {"txtEmailPOP"}, {}},                                                       // POP
        {"chkEmailClient", {}, {"fraEmailServer", "txtEmailServer"}},
    };
    for (const auto& row : rows) {
        child<QAbstractButton>(screen, row.set)->setChecked(true);
        for (const char* name : row.on)
            EXPECT_TRUE(child<QWidget>(screen, name)->isEnabled()) << row.set << " " << name;
        for (const char* name : row.off)
            EXPECT_FALSE(child<QWidget>(screen, name)->isEnabled()) << row.set << " " << name;
    }
}

TEST_F(Settings, ScannerChosenFromTheDevicesFound)
{
    QTemporaryDir sane;
    QFile dll(sane.filePath(QStringLiteral("dll.conf")));
    ASSERT_TRUE(dll.open(QIODevice::WriteOnly));
    dll.write("test\n");
    dll.close();
    QFile conf(sane.filePath(QStringLiteral("test.conf")));
    ASSERT_TRUE(conf.open(QIODevice::WriteOnly));
    conf.write("number_of_devices 1\n");
    conf.close();
    qputenv("SANE_CONFIG_DIR", sane.path().toLocal8Bit());

    frmInfo screen(site.session());
    QStringList offered;
    screen.chooseDevice = [&](const QStringList& devices) {
        offered = devices;
        return devices.value(0);
    };
    screen.cmdDevice_Click();
    ASSERT_EQ(offered.size(), 1);
    EXPECT_TRUE(offered.at(0).startsWith(QStringLiteral("test:0")));
    EXPECT_EQ(child<QLineEdit>(screen, "txtDevice")->text(), QStringLiteral("test:0"));
    screen.cmdOK_Click();
    EXPECT_EQ(ini(site.localIni(), "Info", "Device"), QStringLiteral("test:0"));
}

TEST_F(Settings, EveryTagNamesItsKey)
{
    frmInfo screen(site.session());
    const QList<QWidget*> bound = screen.binder()->boundControls();
    EXPECT_EQ(bound.size(), 67);
    for (QWidget* w : bound) {
        const QString tag = w->property("tag").toString();
        EXPECT_FALSE(GetTag(tag, QStringLiteral("Item")).isEmpty()) << w->objectName().toStdString();
    }
}

// The cover page editor: the shipped page with its warning, a missing file
// with its box and an empty editor, another file as it stands.
TEST_F(Settings, CoverPageEditorOpensOnTheFieldsTemplate)
{
    const QString own = site.path(QStringLiteral("own.cpe"));
    QFile file(own);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("! OUR FAX\n{to}\n");
    file.close();
    const struct {
        QString field;
        QString text;  // the box shown, or empty
        bool empty;    // the editor starts without a file
    } rows[] = {
        {{}, QStringLiteral("Warning: This is the package cover page and may be overwritten with the next update!"), false},
        {site.path(QStringLiteral("gone.cpe")),
         QLatin1Char('\'') + site.path(QStringLiteral("gone.cpe")) + QStringLiteral("' does not exist!\nCreate new file and select using browse function."), true},
        {own, {}, false},
    };
    for (const auto& row : rows) {
        site.prompter().clear();
        frmInfo screen(site.session());
        child<QLineEdit>(screen, "txtFaxCvr")->setText(row.field);
        screen.txtFaxCvr_DblClick();
        EXPECT_EQ(site.prompter().textOf(QStringLiteral("Fax Cover Sheet")), row.text) << row.field.toStdString();
        auto* editor = screen.findChild<QPlainTextEdit*>(QStringLiteral("txtTemplate"));
        ASSERT_NE(editor, nullptr);
        EXPECT_EQ(editor->toPlainText().isEmpty(), row.empty) << row.field.toStdString();
        if (row.field == own) {
            EXPECT_EQ(editor->toPlainText(), QStringLiteral("! OUR FAX\n{to}\n"));
        }
    }
}
