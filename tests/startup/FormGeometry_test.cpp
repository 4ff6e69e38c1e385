#include "data/FormGeometry.h"
#include "base/IniFile.h"
#include "support/TestSite.h"

using namespace tarlox;
using namespace tarlox::test;

TEST(LayoutTag, PlacesControlsByTheirDistanceFromTheFormsEdges)
{
    const struct { const char* tag; QSize form; QRect control, expected; } rows[] = {
        // A column that keeps its distance from the right edge.
        {"FromRight=3225", {9615, 5940}, {100, 200, 1500, 300}, {6390, 200, 1500, 300}},
        {"FromRight=3225", {10615, 5940}, {6390, 200, 1500, 300}, {7390, 200, 1500, 300}},
        // A control that fills the form, and a bar along the bottom.
        {"FromWidth=330,FromHeight=1980", {9615, 5940}, {120, 120, 10, 10}, {120, 120, 9285, 3960}},
        {"FromBottom=900,FromWidth=120", {9615, 5940}, {60, 0, 10, 400}, {60, 5040, 9495, 400}},
        // A settings binding has no layout keys: the control stays.
        {"Section=Email,Item=User", {9615, 5940}, {10, 20, 30, 40}, {10, 20, 30, 40}}, {"", {9615, 5940}, {10, 20, 30, 40}, {10, 20, 30, 40}},
        // A form too small for the stretch: nothing becomes negative.
        {"FromWidth=20000", {9615, 5940}, {0, 0, 100, 100}, {0, 0, 0, 100}},
    };
    for (const auto& row : rows) EXPECT_EQ(PlaceByLayoutTag(ReadLayoutTag(QLatin1String(row.tag)), row.form, row.control), row.expected) << row.tag;
    EXPECT_TRUE(ReadLayoutTag(QStringLiteral("Section=Info,Item=DataDir")).isEmpty());
}

TEST(LayoutTag, MinimumSizeOfTheFormsTag)
{
    EXPECT_EQ((QList<QSize>{MinimumSizeOfTag(QStringLiteral("MinWidth=9615,MinHeight=5940")), MinimumSizeOfTag(QStringLiteral("MinHeight=5940")),
                            MinimumSizeOfTag(QString())}),
              (QList<QSize>{QSize(9615, 5940), QSize(0, 5940), QSize(0, 0)}));
}

class FormGeometryFile : public TempDirTest {
protected:
    void SetUp() override { session.localIni = path(QStringLiteral("TARLOX.INI")); }
    QString read(const QString& section, const QString& key) { return ReadIniValue(session.localIni, section, key).value; }
    using Fields = std::tuple<std::optional<FormState>, std::optional<double>, std::optional<double>, std::optional<double>, std::optional<double>>;
    Fields readBack(const QString& section, const QString& form)
    {
        const FormGeometry g = ReadFormGeometry(session, section, form);
        return {g.state, g.height, g.width, g.top, g.left};
    }
    ScriptedPrompter prompter;
    Session session{prompter};
};

TEST_F(FormGeometryFile, NormalPlaceRoundTripsUnderFormWithTheNamedKeys)
{
    SaveFormGeometry(session, QString(), QStringLiteral("frmFind"), FormState::Normal, QRect(150, 300, 9615, 5940));
    QStringList values;
    for (const char* key : {"State", "Height", "Width", "Top", "Left"}) values << read(QStringLiteral("Form"), QStringLiteral("frmFind") + QLatin1String(key));
    EXPECT_EQ(values, (QStringList{QStringLiteral("0"), QStringLiteral("5940"), QStringLiteral("9615"), QStringLiteral("300"), QStringLiteral("150")}));
    EXPECT_EQ(readBack(QString(), QStringLiteral("frmFind")), (Fields{FormState::Normal, 5940, 9615, 300, 150}));
}

// Maximized keeps the last normal place; never saved or blank keys leave the designed place.
TEST_F(FormGeometryFile, MaximizedNeverSavedAndBlankKeysReadNoMeasures)
{
    SaveFormGeometry(session, QStringLiteral("Batch"), QStringLiteral("frmBatch"), FormState::Normal, QRect(0, 0, 6000, 4000));
    SaveFormGeometry(session, QStringLiteral("Batch"), QStringLiteral("frmBatch"), FormState::Maximized, QRect(0, 0, 20000, 15000));
    EXPECT_EQ((QStringList{read(QStringLiteral("Batch"), QStringLiteral("frmBatchState")), read(QStringLiteral("Batch"), QStringLiteral("frmBatchWidth"))}),
              (QStringList{QStringLiteral("2"), QStringLiteral("6000")}));
    EXPECT_EQ(readBack(QStringLiteral("Batch"), QStringLiteral("frmBatch")), (Fields{FormState::Maximized, {}, {}, {}, {}}));

    EXPECT_EQ(readBack(QString(), QStringLiteral("frmScan")), Fields{});
    WriteIniValue(session.localIni, QStringLiteral("Form"), QStringLiteral("frmScanWidth"), QStringLiteral(" 7200 "));
    WriteIniValue(session.localIni, QStringLiteral("Form"), QStringLiteral("frmScanHeight"), QStringLiteral("   "));
    EXPECT_EQ(readBack(QString(), QStringLiteral("frmScan")), (Fields{{}, {}, 7200, {}, {}}));
}
