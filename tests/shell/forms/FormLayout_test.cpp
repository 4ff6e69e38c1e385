#include "base/forms/FormLayout.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "support/ScriptedPrompter.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QWidget* tagged(QWidget* widget, const char* tag)
{
    widget->setProperty("tag", QString::fromLatin1(tag));
    return widget;
}

}  // namespace

TEST(FormReSize, ControlsKeepTheirDistanceFromTheRightAndBottomEdges)
{
    // The measures of the examples, in pixels: 9,615 x 5,940 twips is 641 x 396.
    QWidget form;
    tagged(&form, "MinWidth=9615,MinHeight=5940");
    auto* column = tagged(new QLineEdit(&form), "FromRight=3225");
    auto* buttons = tagged(new QPushButton(&form), "FromBottom=1380");
    auto* filler = tagged(new QLineEdit(&form), "FromWidth=330,FromHeight=1980");
    auto* bound = tagged(new QCheckBox(&form), "Section=Info,Item=AddYear");
    auto* plain = new QLineEdit(&form);
    auto* hidden = tagged(new QLineEdit(&form), "FromRight=1195");
    column->setGeometry(10, 10, 100, 20);
    buttons->setGeometry(20, 0, 80, 25);
    filler->setGeometry(8, 40, 10, 10);
    bound->setGeometry(5, 6, 70, 20);
    plain->setGeometry(1, 2, 30, 20);
    hidden->setGeometry(3, 4, 50, 20);
    hidden->hide();
    KeepLayoutByTag(&form);
    form.resize(641, 396);
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));

    EXPECT_EQ(column->geometry(), QRect(426, 10, 100, 20));  // 6,390 twips
    EXPECT_EQ(buttons->y(), 304);
    EXPECT_EQ(filler->geometry(), QRect(8, 40, 619, 264));
    EXPECT_EQ(bound->geometry(), QRect(5, 6, 70, 20));
    EXPECT_EQ(plain->geometry(), QRect(1, 2, 30, 20));
    EXPECT_EQ(hidden->geometry(), QRect(3, 4, 50, 20));

    form.resize(708, 396);  // 10,620 twips
    QTest::qWait(20);
    EXPECT_EQ(column->x(), 493);
    EXPECT_EQ(filler->width(), 686);
    EXPECT_EQ(hidden->geometry(), QRect(3, 4, 50, 20));

    // Below its minimum the form snaps back.
    form.resize(300, 200);
    QTest::qWait(20);
    EXPECT_EQ(form.size(), QSize(641, 396));
    EXPECT_EQ(column->x(), 426);
}

TEST(FormReSize, SnapsAFormWithoutMinimumSizeUpAndMeasuresControlsInFramesOnTheForm)
{
    QWidget form;
    tagged(&form, "MinWidth=6000");
    auto* frame = new QGroupBox(&form);
    frame->setGeometry(30, 30, 200, 100);
    auto* inner = tagged(new QPushButton(frame), "FromRight=1500");
    inner->setGeometry(5, 20, 60, 25);
    form.resize(200, 150);
    FormReSize(&form);
    EXPECT_EQ(form.width(), 400);
    // 400 - 100 = 300 px on the form, 270 in the frame.
    EXPECT_EQ(inner->x(), 270);

    QWidget untagged;
    auto* control = tagged(new QPushButton(&untagged), "FromRight=1500");
    untagged.resize(200, 100);
    FormReSize(&untagged);
    EXPECT_EQ(untagged.size(), QSize(200, 100));
    EXPECT_EQ(control->x(), 100);
}

TEST(FormSize, TopLevelWindowRoundTripsThroughTheLocalFile)
{
    QTemporaryDir dir;
    ScriptedPrompter prompter;
    Session session(prompter);
    session.localIni = dir.filePath(QStringLiteral("TARLOX.INI"));

    QWidget form;
    form.setGeometry(120, 90, 500, 320);
    SaveFormSize(session, &form, QString(), QStringLiteral("frmList"));
    EXPECT_EQ(ReadIniValue(session.localIni, QStringLiteral("Form"), QStringLiteral("frmListWidth")).value, QStringLiteral("7500"));

    QWidget again;
    again.setGeometry(0, 0, 100, 100);
    GetFormSize(session, &again, QString(), QStringLiteral("frmList"));
    EXPECT_EQ(again.geometry(), QRect(120, 90, 500, 320));

    // Never saved: the form keeps its designed place.
    QWidget other;
    other.setGeometry(7, 8, 90, 60);
    GetFormSize(session, &other, QString(), QStringLiteral("frmAscii"));
    EXPECT_EQ(other.geometry(), QRect(7, 8, 90, 60));

    WriteIniValue(session.localIni, QStringLiteral("Form"), QStringLiteral("frmAsciiState"), QStringLiteral("2"));
    GetFormSize(session, &other, QString(), QStringLiteral("frmAscii"));
    EXPECT_TRUE(other.windowState() & Qt::WindowMaximized);
}

TEST(ModalCheck, WaitsUntilTheFormIsGoneWithTheProgramAlive)
{
    QPointer<QWidget> form = new QWidget;
    form->setAttribute(Qt::WA_DeleteOnClose);
    form->show();
    bool timerRan = false;
    QTimer::singleShot(30, [&] { timerRan = true; });
    QTimer::singleShot(60, form.data(), &QWidget::close);
    ModalCheck(form);
    EXPECT_TRUE(timerRan);
    EXPECT_TRUE(form.isNull());

    // A form that is already gone: back at once.
    QPointer<QWidget> gone;
    ModalCheck(gone);
    EXPECT_TRUE(gone.isNull());
}

TEST(EnableFrame, SetsTheFrameAndEachControlInIt)
{
    QWidget form;
    auto* frame = new QGroupBox(&form);
    auto* box = new QCheckBox(frame);
    auto* inner = new QGroupBox(frame);
    auto* text = new QLineEdit(inner);
    auto* outside = new QPushButton(&form);
    box->setEnabled(false);

    EnableFrame(frame, false);
    EXPECT_FALSE(frame->isEnabled());
    EXPECT_FALSE(text->isEnabled());
    EXPECT_TRUE(outside->isEnabled());

    // Enabling gives every control the frame's value, the one disabled before too.
    EnableFrame(frame, true);
    EXPECT_TRUE(box->isEnabled());
    EXPECT_TRUE(inner->isEnabled());
    EXPECT_TRUE(text->isEnabled());
}
