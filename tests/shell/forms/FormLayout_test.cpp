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

TEST(FormReSize, ControlsKeepTheirDistanceFromTheEdgesAlsoInFramesAndFormsSnapToTheirMinimum)
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
    const QList<QWidget*> all{column, buttons, filler, bound, plain, hidden};
    const QList<QRect> designed{{10, 10, 100, 20}, {20, 0, 80, 25}, {8, 40, 10, 10}, {5, 6, 70, 20}, {1, 2, 30, 20}, {3, 4, 50, 20}};
    for (int i = 0; i < all.size(); ++i)
        all[i]->setGeometry(designed[i]);
    hidden->hide();
    const auto geometries = [&] {
        QList<QRect> now;
        for (QWidget* w : all)
            now << w->geometry();
        return now;
    };
    KeepLayoutByTag(&form);
    form.resize(641, 396);
    form.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));

    // The column at 6,390 twips; bound, untagged and hidden controls stay.
    EXPECT_EQ(geometries(), (QList<QRect>{{426, 10, 100, 20}, {20, 304, 80, 25}, {8, 40, 619, 264}, {5, 6, 70, 20}, {1, 2, 30, 20}, {3, 4, 50, 20}}));

    form.resize(708, 396);  // 10,620 twips
    QTest::qWait(20);
    EXPECT_EQ(geometries(), (QList<QRect>{{493, 10, 100, 20}, {20, 304, 80, 25}, {8, 40, 686, 264}, {5, 6, 70, 20}, {1, 2, 30, 20}, {3, 4, 50, 20}}));

    // Below its minimum the form snaps back.
    form.resize(300, 200);
    QTest::qWait(20);
    EXPECT_EQ(std::tuple(form.size(), column->x()), std::tuple(QSize(641, 396), 426));

    // A form without a minimum height snaps up too; a control in a frame is measured on the form.
    QWidget framed;
    tagged(&framed, "MinWidth=6000");
    auto* frame = new QGroupBox(&framed);
    frame->setGeometry(30, 30, 200, 100);
    auto* inner = tagged(new QPushButton(frame), "FromRight=1500");
    inner->setGeometry(5, 20, 60, 25);
    framed.resize(200, 150);
    FormReSize(&framed);
    // 400 - 100 = 300 px on the form, 270 in the frame.
    EXPECT_EQ(std::tuple(framed.width(), inner->x()), std::tuple(400, 270));

    QWidget untagged;
    auto* control = tagged(new QPushButton(&untagged), "FromRight=1500");
    untagged.resize(200, 100);
    FormReSize(&untagged);
    EXPECT_EQ(std::tuple(untagged.size(), control->x()), std::tuple(QSize(200, 100), 100));
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
    EXPECT_EQ(std::tuple(timerRan, form.isNull()), std::tuple(true, true));

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
    EXPECT_EQ(std::tuple(frame->isEnabled(), text->isEnabled(), outside->isEnabled()), std::tuple(false, false, true));

    // Enabling gives every control the frame's value, the one disabled before too.
    EnableFrame(frame, true);
    EXPECT_EQ(std::tuple(box->isEnabled(), inner->isEnabled(), text->isEnabled()), std::tuple(true, true, true));
}
