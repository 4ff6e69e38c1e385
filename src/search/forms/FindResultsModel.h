#pragma once

#include "data/Records.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

namespace tarlox {

// The found references as a table: one row a reference, the columns Heat,
// Part, P/O, Vendor, Mfg, Entry Date and Image #. The rows are the find
// screen's own list, so a sort reorders that list and the record boxes and
// |< < > >| walk the order the user sees.
class FindResultsModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Heat, Part, PO, Vendor, Mfg, EntryDate, ImageNumber, ColumnCount };

    FindResultsModel(QList<InfoRow>& rows, QStringList headers, QObject* parent = nullptr);

    // Call after the list was replaced (a new find) or a row changed.
    void reset();
    void rowChanged(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    QList<InfoRow>& rows_;
    QStringList headers_;
};

}  // namespace tarlox
