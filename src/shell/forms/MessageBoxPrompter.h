#pragma once

#include "base/Prompter.h"

class QWidget;

namespace tarlox {

// Questions and reports as message boxes, and the system's file pickers.
class MessageBoxPrompter : public Prompter {
public:
    explicit MessageBoxPrompter(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }

    Answer ask(const Prompt& prompt) override;
    QString chooseOpenFile(const QString& title, const QString& start, const QString& filter) override;
    QString chooseDirectory(const QString& title, const QString& start) override;
    QString chooseSaveFile(const QString& title, const QString& start, const QString& filter, bool askBeforeReplacing) override;
    void setBusy(bool busy) override;

private:
    QWidget* parent_;
    int busyDepth_ = 0;
};

}  // namespace tarlox
