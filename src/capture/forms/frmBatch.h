#pragma once

#include "capture/BatchPages.h"
#include "store/TiffReader.h"

#include <QWidget>

#include <atomic>
#include <memory>
#include <optional>

namespace Ui {
class frmBatch;
}

namespace tarlox {

class BrightnessControls;
class Session;

// "Add Documents in Batch": pages are gathered into one work file, scanned
// or read from the files of a directory; then the operator walks them,
// gives each page its references and says whether it starts a report, goes
// behind the report of equal data or is skipped, and adds them all at once.
class frmBatch : public QWidget {
    Q_OBJECT
public:
    explicit frmBatch(Session& session, QWidget* parent = nullptr);
    ~frmBatch() override;

    enum Tab { IndexTab = 0, ListTab = 1, ScanTab = 2, ReadTab = 3 };

    void Form_Load();
    void LoadData();
    void cmdGetDir_Click();
    void txtFilesDir_Change();
    void SelectImages(bool selected);
    void cmdScan_Click();
    bool LoadFilesForIndexing();
    void SetupInputFiles();
    void cmdAdd_Click();
    void RemoveOriginals();

    bool NewPage(int page, bool saveFirst);
    void SetCurrentItem();
    bool SaveCurrentItem();
    void SetOptions();
    void SetCommandButtons();
    void SetSaveListItem();
    void ClearGrid();
    bool AddFiles();

    int currentPage() const { return currentPage_; }
    int pageCount() const { return pages_.pageCount(); }
    const BatchPages& pages() const { return pages_; }
    bool isWorking() const { return working_; }
    // What the last add stored.
    const BatchAddResult& lastAdd() const { return lastAdd_; }
    Ui::frmBatch* ui() const { return ui_.get(); }

    Q_SIGNAL void formClosed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void tabMain_Click(int tab);
    void fieldEdited(QString BatchItem::*field, const QString& text);
    void showPage(int page);
    void setWorking(bool working, const QString& status = {});
    void makeThumbnails();
    void markThumbnail(int page);
    void applySiteNames();
    bool scannerAvailable() const;

    Session& session_;
    std::unique_ptr<Ui::frmBatch> ui_;
    BrightnessControls* brightness_;
    BatchPages pages_;
    std::optional<TiffReader> copy_;  // the work file, held open (imcCopy)
    QString workFile_;
    struct Source {
        QString path;
        int firstPage = 0;
        int pages = 0;
    };
    QList<Source> sources_;
    int currentPage_ = 0;
    int previousTab_ = 0;
    bool savedOk_ = false;
    bool scanned_ = false;
    bool pending_ = false;
    bool added_ = false;
    bool listEnabled_ = false;
    bool working_ = false;
    bool switchingTab_ = false;
    std::atomic<bool> cancel_{false};
    BatchAddResult lastAdd_;
};

}  // namespace tarlox
