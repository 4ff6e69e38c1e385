#pragma once

#include <QDialog>

#include <functional>
#include <memory>

namespace Ui {
class frmCoverPage;
}

namespace tarlox {

// The cover page editor: the template text on the left, the page it makes
// (with sample values) on the right, drawn again as the text changes.
class frmCoverPage : public QDialog {
    Q_OBJECT
public:
    // file: the template to edit; blank starts a new one (Save asks for a name).
    explicit frmCoverPage(const QString& file, QWidget* parent = nullptr);
    ~frmCoverPage() override;

    Ui::frmCoverPage* ui() const { return ui_.get(); }
    QString file() const { return file_; }
    // Writes the text to the file (beside it first, then renamed); false
    // after telling why.
    bool Save();
    // The name for a new file; blank for Cancel. Tests answer it.
    std::function<QString()> chooseFile;

private:
    void preview();

    std::unique_ptr<Ui::frmCoverPage> ui_;
    QString file_;
};

}  // namespace tarlox
