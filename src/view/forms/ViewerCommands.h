#pragma once

#include <QObject>
#include <QString>

namespace tarlox {

// A child form that offers the viewer's drawing commands. While such a form
// is the active child, the frame shows the Rectangle, Stamp, Line and View
// buttons and passes their clicks to it. A form takes this as a second base:
// class frmView : public QWidget, public ViewerCommands.
class ViewerCommands {
public:
    virtual ~ViewerCommands() = default;
    virtual void RectangleCommand() = 0;
    virtual void StampCommand() = 0;
    virtual void LineCommand() = 0;
    virtual void ViewCommand() = 0;
    // The tool the mouse draws with now: "Rectangle", "Stamp", "Line", or
    // "View" for magnifying; the frame shows that button pressed.
    virtual QString activeTool() const { return QStringLiteral("View"); }
    // A signal in the form that implements it: sent with activeTool() each
    // time the tool changes, by a command or by the viewer itself (a placed
    // stamp ends the stamp tool), so the frame's pressed button follows.
    virtual void activeToolChanged(const QString& tool) { Q_UNUSED(tool); }
};

// The signal's signature for the frame's connect().
inline const char* const ActiveToolChangedSignal = SIGNAL(activeToolChanged(QString));

}  // namespace tarlox
