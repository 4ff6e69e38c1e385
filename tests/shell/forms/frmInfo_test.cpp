#include "shell/forms/frmInfo.h"

#include "base/IniFile.h"
#include "base/TextTools.h"
#include "data/OptionsData.h"
#include "data/Settings.h"
#include "shell/forms/TagBinder.h"
#include "support/FormControls.h"
#include "support/SaneTestBackend.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTextEdit>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

QString ini(const QString& path, const char* section, const char* key) { return ReadIniValue(path, QLatin1String(section), QLatin1String(key)).value; }

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
    void SetUp() override { ASSERT_TRUE(site.start()); }
    TestSite site;
    Session& s = site.session();
};

}  // namespace

// Every kind of control the binder knows, on a form of its own.
TEST_F(Settings, EachControlKindRoundTripsThroughTheBinder)
{
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
    QWidget form, again;
    build(form);
    TagBinder binder(s, &form);
    EXPECT_EQ(binder.boundControls().size(), 7);
    binder.LoadFields();
    bool changed = false;
    child<QLineEdit>(&form, "txtLine")->setText(u"one"_s);
    child<QTextEdit>(&form, "txtRich")->setPlainText(u"two"_s);
    child<QPlainTextEdit>(&form, "txtPlain")->setPlainText(u"three"_s);
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
    EXPECT_EQ(ReadOptions(*other) ? other->options.clientOptions : -1, 4);

    build(again);
    TagBinder reloaded(s, &again);
    reloaded.LoadFields();
    changed = false;
    reloaded.CheckFields(changed);
    EXPECT_EQ(std::tuple(child<QTextEdit>(&again, "txtRich")->toPlainText(), child<QPlainTextEdit>(&again, "txtPlain")->toPlainText(),
                         child<QRadioButton>(&again, "optB")->isChecked(), child<QCheckBox>(&again, "chkBit")->isChecked(), changed),
              std::tuple(u"two"_s, u"three"_s, true, true, false));

    // Clearing the bit clears only that bit.
    s.options.clientOptions = 4 | 1;
    ASSERT_TRUE(UpdateOptions(s));
    again.findChild<QCheckBox*>(u"chkBit"_s)->setChecked(false);
    ASSERT_TRUE(reloaded.SaveFields());
    EXPECT_EQ(ReadOptions(*other) ? other->options.clientOptions : -1, 1);
}

TEST_F(Settings, PasswordIsStoredEnciphered)
{
    {
        frmInfo screen(s);
        child<QLineEdit>(screen, "txtEmailPassword")->setText(u"Pa55 word!"_s);
        EXPECT_TRUE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());
        screen.cmdApply_Click();
        EXPECT_FALSE(child<QAbstractButton>(screen, "cmdApply")->isEnabled());
    }
    const QString stored = ini(site.localIni(), "Email", "Password");
    EXPECT_EQ(std::tuple(stored, stored != u"Pa55 word!"_s), std::tuple(Encrypt(u"Pa55 word!"_s), true));
    // The file that holds it is its owner's alone, and stays so when written again.
    const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    const auto shared = [&] { return QFile::permissions(site.localIni()) & others; };
    const auto before = shared();
    PutLocal(s, u"Email"_s, u"Subject"_s, u"x"_s);
    EXPECT_EQ(std::tuple(before, shared()), std::tuple(QFileDevice::Permissions(), QFileDevice::Permissions()));

    frmInfo screen(s);
    bool changed = false;
    screen.binder()->CheckFields(changed);
    EXPECT_EQ(std::tuple(child<QLineEdit>(screen, "txtEmailPassword")->text(), changed, child<QAbstractButton>(screen, "cmdApply")->isEnabled()),
              std::tuple(u"Pa55 word!"_s, false, false));
}

TEST_F(Settings, DriveMapList)
{
    frmInfo screen(s);
    ScriptedPrompter& asked = site.prompter();
    auto* box = child<QComboBox>(screen, "cboDrvMap");
    const auto edit = [&](int index, const char* text) {
        box->setCurrentIndex(index < 0 ? box->count() - 1 : index);
        box->setEditText(QString::fromUtf8(text));
        return screen.cboDrvMap_LostFocus();
    };
    // The entry rules themselves are SettingsRules' table; an entry already there is not added twice.
    EXPECT_EQ((std::tuple{edit(-1, "F=1"), asked.asked().size(), screen.drvMapEntries().size()}), std::tuple(false, qsizetype(1), qsizetype(0)));
    EXPECT_EQ((QList<bool>{edit(-1, "f=c"), edit(-1, "G=D"), edit(-1, "G=D"), edit(-1, "/srv/tarlox/=/mnt/tarlox")}), QList<bool>(4, true));
    // One empty entry at the end.
    EXPECT_EQ(std::pair(screen.drvMapEntries(), box->itemText(box->count() - 1)), std::pair(QStringList{u"F=C"_s, u"G=D"_s, u"/srv/tarlox=/mnt/tarlox"_s}, QString()));

    // Editing an entry replaces it; emptying it removes it.
    EXPECT_EQ((QList<bool>{edit(2, ""), edit(1, "h=e")}), QList<bool>(2, true));
    EXPECT_EQ(std::tuple(screen.drvMapEntries(), box->count()), std::tuple(QStringList{u"F=C"_s, u"H=E"_s}, 3));

    EXPECT_TRUE(edit(1, "G=D"));
    screen.cmdApply_Click();
    EXPECT_EQ(std::tuple(ini(site.localIni(), "Info", "DrvMap"), s.drvMap, child<QAbstractButton>(screen, "cmdApply")->isEnabled()),
              std::tuple(u"F=CG=D"_s, u"F=CG=D"_s, false));

    frmInfo again(s);
    EXPECT_EQ(again.drvMapEntries(), (QStringList{u"F=C"_s, u"G=D"_s}));
}

TEST_F(Settings, NextImageNumberReachesTheOptionsRow)
{
    frmInfo screen(s);
    EXPECT_EQ((QStringList{child<QLineEdit>(screen, "txtNxtimg")->text(), ini(site.localIni(), "Info", "NextName")}), QStringList(2, u"1"_s));
    child<QLineEdit>(screen, "txtNxtimg")->setText(u"4711"_s);
    screen.cmdApply_Click();

    ScriptedPrompter otherPrompter;
    auto other = site.openAnother(otherPrompter);
    EXPECT_EQ(ReadOptions(*other) ? other->options.nextName : -1, 4711);

    // A screen opened before another machine went on puts the counter back
    // to what it showed: taking the next number repairs that against the images.
    frmInfo fresh(s);
    other->options.nextName = 4800;
    ASSERT_TRUE(UpdateOptions(*other));
    child<QLineEdit>(fresh, "txtPOShort")->setText(u"Order #"_s);
    fresh.cmdApply_Click();
    ASSERT_TRUE(ReadOptions(*other));
    // ... and the session takes the new field names at once.
    EXPECT_EQ(std::tuple(other->options.nextName, s.poShort), std::tuple(4711, u"Order #"_s));
}

TEST_F(Settings, FieldChecks)
{
    ScriptedPrompter& asked = site.prompter();
    frmInfo screen(s);
    const auto box = [&](const char* name) { return child<QLineEdit>(screen, name); };

    box("txtFontSize")->setText(u"99"_s);
    screen.txtFontSize_LostFocus();
    box("txtBright")->setText(u"-4000"_s);
    screen.txtBright_LostFocus();
    box("txtHighDPI")->setText(QString());
    box("txtHighDPI")->setFocus();
    box("txtHighDPI")->insert(u"12000"_s);
    emit box("txtHighDPI")->textEdited(box("txtHighDPI")->text());
    EXPECT_EQ((QStringList{box("txtFontSize")->text(), box("txtBright")->text(), box("txtHighDPI")->text()}), (QStringList{u"36"_s, u"-1000"_s, u"9999"_s}));

    box("txtDefaultPages")->setText(u"1-3"_s);
    EXPECT_EQ((std::tuple{screen.txtDefaultPages_Validate(), asked.wasAsked(u"Invalid Pages"_s), box("txtDefaultPages")->text()}), std::tuple(false, true, QString()));
    box("txtDefaultPages")->setText(u"all"_s);
    EXPECT_TRUE(screen.txtDefaultPages_Validate());

    box("txtTmpDir")->clear();
    EXPECT_EQ((std::tuple{screen.txtTmpDir_Validate(), asked.textOf(u"Enter a Temporary Directory"_s)}), std::tuple(false, texts::TempDirRequired));
    const QString fresh = site.path(u"TEMP2/work"_s);
    box("txtTmpDir")->setText(fresh);
    const auto answered = [&](Answer answer) { return asked.answer(answer), std::tuple{screen.txtTmpDir_Validate(), QFileInfo(fresh).isDir()}; };
    EXPECT_EQ((std::tuple{answered(Answer::No), answered(Answer::Yes)}), std::tuple(std::tuple(false, false), std::tuple(true, true)));
    EXPECT_EQ(asked.textOf(u"Create Temporary Directory"_s), texts::CreateTempDir);

    // The stamp file must load as an image.
    const QString junk = site.path(u"stamp.pcx"_s);
    ASSERT_TRUE(WriteFile(junk, "not an image at all"));
    box("txtAuthorizationStamp")->setText(junk);
    EXPECT_EQ((std::tuple{screen.txtAuthorizationStamp_Validate(), asked.textOf(u"Stamp File"_s), box("txtAuthorizationStamp")->text()}),
              std::tuple(false, texts::InvalidStampFile, QString()));
    const QString good = site.path(u"stamp.bmp"_s);
    QImage stamp(40, 20, QImage::Format_Mono);
    stamp.fill(0);
    ASSERT_TRUE(stamp.save(good, "BMP"));
    box("txtAuthorizationStamp")->setText(good);
    EXPECT_TRUE(screen.txtAuthorizationStamp_Validate());
    box("txtAuthorizationStamp")->setText(site.path(u"missing.bmp"_s));
    EXPECT_FALSE(screen.txtAuthorizationStamp_Validate());
}

// Each row: the switch set, then the controls it turns on and off.
TEST_F(Settings, DependentControlsFollowTheirSwitches)
{
    frmInfo screen(site.session());
    child<QCheckBox>(screen, "chkEmailClient")->setChecked(false);
    const struct { const char* set; std::vector<const char*> on, off; } rows[] = {
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
        for (const auto& [names, on] : {std::pair{&row.on, true}, {&row.off, false}})
            for (const char* name : *names)
                EXPECT_EQ(child<QWidget>(screen, name)->isEnabled(), on) << row.set << " " << name;
    }
}

TEST_F(Settings, ScannerChosenFromTheDevicesFound)
{
    UseSaneTestBackend();
    frmInfo screen(site.session());
    QStringList offered;
    screen.chooseDevice = [&](const QStringList& devices) { return offered = devices, devices.value(0); };
    screen.cmdDevice_Click();
    ASSERT_EQ(offered.size(), 1);
    EXPECT_EQ(std::tuple(offered.at(0).left(6), child<QLineEdit>(screen, "txtDevice")->text()), std::tuple(u"test:0"_s, u"test:0"_s));
    screen.cmdOK_Click();
    EXPECT_EQ(ini(site.localIni(), "Info", "Device"), u"test:0"_s);
}

TEST_F(Settings, EveryTagNamesItsKeyAndDefaultsAreStoredOnlyWhenSaved)
{
    frmInfo screen(site.session());
    const QList<QWidget*> bound = screen.binder()->boundControls();
    EXPECT_EQ(bound.size(), 67);
    for (QWidget* w : bound)
        EXPECT_FALSE(GetTag(w->property("tag").toString(), u"Item"_s).isEmpty()) << w->objectName().toStdString();

    // The fields that show a default keep the stored value empty until saved; a check box never stored saves False.
    EXPECT_EQ(std::tuple(child<QCheckBox>(screen, "chkBCC")->isChecked(), child<QLineEdit>(screen, "txtFindRecs")->text(), ini(site.localIni(), "Info", "FindRecords"),
                         ini(site.localIni(), "Email", "BCC")),
              std::tuple(false, u"100"_s, QString(), QString()));
    screen.cmdOK_Click();
    EXPECT_EQ((QStringList{ini(site.localIni(), "Email", "BCC"), ini(site.localIni(), "Info", "FindRecords")}), (QStringList{u"False"_s, u"100"_s}));
}

// The cover page editor: the shipped page with its warning, a missing file
// with its box and an empty editor, another file as it stands.
TEST_F(Settings, CoverPageEditorOpensOnTheFieldsTemplate)
{
    const QString own = site.path(u"own.cpe"_s);
    ASSERT_TRUE(WriteFile(own, "! OUR FAX\n{to}\n"));
    // text: the box shown, or empty; empty: the editor starts without a file
    const struct { QString field; QString text; bool empty; } rows[] = {
        {{}, u"Warning: This is the package cover page and may be overwritten with the next update!"_s, false},
        {site.path(u"gone.cpe"_s),
         QLatin1Char('\'') + site.path(u"gone.cpe"_s) + u"' does not exist!\nCreate new file and select using browse function."_s, true},
        {own, {}, false},
    };
    for (const auto& row : rows) {
        site.prompter().clear();
        frmInfo screen(site.session());
        child<QLineEdit>(screen, "txtFaxCvr")->setText(row.field);
        screen.txtFaxCvr_DblClick();
        EXPECT_EQ(site.prompter().textOf(u"Fax Cover Sheet"_s), row.text) << row.field.toStdString();
        auto* editor = screen.findChild<QPlainTextEdit*>(u"txtTemplate"_s);
        ASSERT_NE(editor, nullptr);
        EXPECT_EQ(std::pair(editor->toPlainText().isEmpty(), editor->toPlainText() == u"! OUR FAX\n{to}\n"_s), std::pair(row.empty, row.field == own))
            << row.field.toStdString();
    }
}
