#pragma once

#include <QList>

class QMenu;

namespace tarlox {

// A child form with menus of its own. Inside the frame its menus join the
// frame's menu bar while it is the active child, in place of the frame's
// own (one File, one Window), as an MDI program's do; on its own it shows
// them in a menu bar of its own. A form takes this as a second base.
class ChildMenus {
public:
    virtual ~ChildMenus() = default;
    // The menus for the frame's bar, in order; the child's own Window menu
    // is left out, the frame's stands for it.
    virtual QList<QMenu*> framedMenus() const = 0;
    // Shows or hides the child's own menu bar.
    virtual void showOwnMenuBar(bool shown) = 0;
};

}  // namespace tarlox
