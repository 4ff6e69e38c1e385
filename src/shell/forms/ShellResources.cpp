#include "shell/forms/ShellResources.h"

#include <QtGlobal>

void InitShellResources()
{
    static const bool done = [] {
        Q_INIT_RESOURCE(shell);
        return true;
    }();
    Q_UNUSED(done);
}
