#include "shell/forms/FormRegistry.h"

namespace tarlox {

void FormRegistry::add(const QString& name, FormKind kind, std::function<QWidget*(const FormContext&)> create)
{
    forms_[name] = FormEntry{name, kind, std::move(create)};
}

const FormEntry* FormRegistry::find(const QString& name) const
{
    const auto it = forms_.find(name);
    return it == forms_.end() ? nullptr : &it->second;
}

}  // namespace tarlox
