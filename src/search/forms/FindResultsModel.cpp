#include "search/forms/FindResultsModel.h"

#include "search/ReferenceEdit.h"

#include <algorithm>
#include <numeric>

namespace tarlox {

namespace {

// What a column sorts by: the date and the image number as what they are,
// the texts without regard to case.
QVariant sortKey(const InfoRow& row, int column)
{
    switch (column) {
    case FindResultsModel::Heat: return row.heat.toCaseFolded();
    case FindResultsModel::Part: return row.part.toCaseFolded();
    case FindResultsModel::PO: return row.po.toCaseFolded();
    case FindResultsModel::Vendor: return row.vend.toCaseFolded();
    case FindResultsModel::Mfg: return row.mfg.toCaseFolded();
    case FindResultsModel::EntryDate: return row.entryDate;
    default: return row.imageNumber;
    }
}

}  // namespace

FindResultsModel::FindResultsModel(QList<InfoRow>& rows, QStringList headers, QObject* parent)
    : QAbstractTableModel(parent)
    , rows_(rows)
    , headers_(std::move(headers))
{
}

void FindResultsModel::reset()
{
    beginResetModel();
    endResetModel();
}

void FindResultsModel::rowChanged(int row)
{
    if (row >= 0 && row < rows_.size())
        emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

int FindResultsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int FindResultsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FindResultsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const InfoRow& row = rows_.at(index.row());
    if (role == Qt::TextAlignmentRole && index.column() == ImageNumber)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    switch (index.column()) {
    case Heat: return row.heat;
    case Part: return row.part;
    case PO: return row.po;
    case Vendor: return row.vend;
    case Mfg: return row.mfg;
    case EntryDate: return EntryOf(row).date;
    default: return row.imageNumber;
    }
}

QVariant FindResultsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < headers_.size())
        return headers_.at(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

void FindResultsModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= ColumnCount)
        return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    QList<int> order_(rows_.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::stable_sort(order_.begin(), order_.end(), [&](int a, int b) {
        const QVariant ka = sortKey(rows_.at(a), column);
        const QVariant kb = sortKey(rows_.at(b), column);
        const auto c = QVariant::compare(ka, kb);
        return order == Qt::AscendingOrder ? c == QPartialOrdering::Less : c == QPartialOrdering::Greater;
    });
    QList<InfoRow> sorted;
    sorted.reserve(rows_.size());
    QList<int> newRow(rows_.size());
    for (int i = 0; i < order_.size(); ++i) {
        sorted << rows_.at(order_[i]);
        newRow[order_[i]] = i;
    }
    rows_ = sorted;
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& i : before)
        after << index(newRow.value(i.row()), i.column());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

}  // namespace tarlox
