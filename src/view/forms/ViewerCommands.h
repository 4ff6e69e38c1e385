#pragma once

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
};

}  // namespace tarlox
