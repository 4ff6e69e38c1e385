#include "shell/forms/FormRegistry.h"

// Each form's header goes here, and its line into StandardForms() below.

namespace tarlox {

FormRegistry StandardForms()
{
    FormRegistry forms;
    // forms.child<frmScan>(QStringLiteral("frmScan"));    an MDI child, one at a time
    // forms.dialog<frmInfo>(QStringLiteral("frmInfo"));   a modal window of its own
    return forms;
}

}  // namespace tarlox
