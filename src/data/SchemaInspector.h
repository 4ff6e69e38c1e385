#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace tarlox {

class DataOp;

// Reads the live shape of the database; the ladder decides by it, and the
// column limits used to cut values come from it.
class SchemaInspector {
public:
    explicit SchemaInspector(DataOp& op) : op_(op) {}

    // The table's name as stored (case as created), or empty when missing.
    std::optional<QString> tableName(const QString& table);
    bool hasTable(const QString& table) { auto t = tableName(table); return t && !t->isEmpty(); }
    std::optional<QStringList> columns(const QString& table);
    bool hasColumn(const QString& table, const QString& column);
    // Number of columns of a named index; 0 when it does not exist.
    std::optional<int> indexColumnCount(const QString& index);
    // Declared maximum length of a text column; 0 when unlimited or unknown.
    std::optional<int> columnLimit(const QString& table, const QString& column);

private:
    DataOp& op_;
};

}  // namespace tarlox
