#pragma once

#include <QWidget>

#include <memory>

class QLineEdit;

namespace Ui {
class frmAscii;
}

namespace tarlox {

class DateBoxes;

class Session;

// "Ascii Listing": the references of an entry date range written anew to a
// CSV file (a header row, RFC 4180 quoting, UTF-8).
class frmAscii : public QWidget {
    Q_OBJECT

public:
    explicit frmAscii(Session& session, QWidget* parent = nullptr);
    ~frmAscii() override;

public slots:
    void cmdFileName_Click();
    void cmdPrint_Click();

private:
    int CheckDate(QLineEdit* box);

    Session& session_;
    std::unique_ptr<Ui::frmAscii> ui;
    DateBoxes* dateBoxes_ = nullptr;
};

}  // namespace tarlox
