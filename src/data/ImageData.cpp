#include "data/Dialect.h"
#include "data/ImageData.h"

#include "data/DataOp.h"
#include "data/InfoData.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "base/TextTools.h"

#include <QSqlQuery>

namespace tarlox {

namespace {


// Width of Images."Volume ID"; volume names are made to fit it.
constexpr int VolumeIdWidth = 32;

QString joinCondition(const SqlCondition& where)
{
    return QStringLiteral(" FROM %1, %2 WHERE %3 = %4").arg(q("Info"), q("Images"), col("Images", "Image #"), col("Info", "Image #"))
        + (where.isEmpty() ? QString() : QStringLiteral(" AND (") + where.text + QLatin1Char(')'));
}

// The number the counter gives out next: the counter, or one above the
// highest image on file when the counter has fallen behind.
QString candidateExpression(const Dialect& d)
{
    return QStringLiteral("%1(coalesce(%2, 0), (SELECT coalesce(max(%3) + 1, 0) FROM %4))")
        .arg(d.isSqlite() ? QStringLiteral("max") : QStringLiteral("greatest"), q("NextName"), q("Image #"), q("Images"));
}

bool insertImage(DataOp& op, Session& s, bool retry)
{
    ImageRecord& r = s.image;
    QString volume = SpaceIfEmpty(r.volumeId);
    QString size = SpaceIfEmpty(r.size);
    QString type = SpaceIfEmpty(r.type);
    op.step(QStringLiteral("Adding image ") + QString::number(r.imageNumber));
    static const QString insert = QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6, %7) VALUES (?, ?, ?, ?, ?, ?)")
                                      .arg(q("Images"), q("Image #"), q("Path"), q("Volume ID"), q("Entry Date"), q("Size"), q("Type"));
    return op.repeat(insert,
                     {r.imageNumber, r.path, CutToLimit(volume, VolumeIdWidth), op.dialect().dateValue(r.entryDate), CutToLimit(size, 1),
                      CutToLimit(type, 1)},
                     retry ? DataOp::OnError::Quiet : DataOp::OnError::Report);
}

// Tells why the counter gave nothing: no Options row, or no six-digit number left.
void explainNoNumber(DataOp& op, Session& s)
{
    op.step(QStringLiteral("Checking Next Image Number"));
    auto next = op.scalar(QStringLiteral("SELECT ") + candidateExpression(op.dialect())
                          + QStringLiteral(" FROM %1 WHERE %2 = 1").arg(q("Options"), q("OptionsID")));
    if (!next)
        return;
    if (!next->isValid()) {
        op.report(3021, QStringLiteral("The Options row is missing, so there is no image counter to take a number from"));
        return;
    }
    const QString number = QString::number(next->toLongLong());
    s.prompter().ask(QStringLiteral("Error"),
                     QStringLiteral("No more image numbers!\r\nThe next number would be ") + number
                         + QStringLiteral(", but image file names hold six digits (TR000000.TIF to TR999999.TIF), "
                                          "so it would take the file name of another image.\r\nNothing has been stored."),
                     Buttons::Ok, Icon::Critical);
}

}  // namespace

QString ListDateText(const QDateTime& value)
{
    if (!value.isValid())
        return {};
    if (value.time() == QTime(0, 0))
        return value.toString(QStringLiteral("M/d/yyyy"));
    return value.toString(QStringLiteral("M/d/yyyy h:mm:ss AP"));
}

std::optional<qint32> TakeImageNumber(Session& s)
{
    DataOp op(s, QStringLiteral("TakeImageNumber"));
    // One statement reads the counter, corrects it against Images and writes
    // it back, as one transaction. SQLite takes the write lock for a writing
    // statement before it reads anything, just as BEGIN IMMEDIATE does, and
    // waits for it in the busy handler; PostgreSQL re-reads the row under its
    // row lock when another taker got there first. One statement, prepared
    // once per connection, gives out several times the numbers per second
    // of BEGIN IMMEDIATE/UPDATE/COMMIT parsed anew each time.
    const QString take = QStringLiteral("UPDATE %1 SET %2 = %3 + 1 WHERE %4 = 1 AND %3 <= %5 RETURNING %2 - 1, %6, %7, %8")
                             .arg(q("Options"), q("NextName"), candidateExpression(op.dialect()), q("OptionsID"),
                                  QString::number(MaxImageNumber), q("CompanyName"), q("Version"), q("ClientOptions"));
    op.step(QStringLiteral("Updating Next Image Number"));
    const auto row = op.firstRow(take);
    if (!row)
        return std::nullopt;
    if (row->size() != 4) {
        explainNoNumber(op, s);
        return std::nullopt;
    }
    const qint32 number = row->at(0).toInt();
    s.options.companyName = row->at(1).toString();
    s.options.version = row->at(2).toString().trimmed();
    s.options.clientOptions = row->at(3).toInt();
    s.options.nextName = number + 1;
    return number;
}

bool AddImage(Session& s, bool retry)
{
    DataOp op(s, QStringLiteral("AddImage"));
    const bool ok = insertImage(op, s, retry);
    ok ? DataOp::clearStatus(s.image) : op.storeStatus(s.image);
    return ok;
}

bool AddImageWithInfo(Session& s, bool retry)
{
    DataOp op(s, QStringLiteral("AddImageWithInfo"));
    const bool ok = op.transaction([&] { return insertImage(op, s, retry) && detail::InsertInfoRecords(op, s, retry); });
    if (ok) {
        DataOp::clearStatus(s.image);
        DataOp::clearStatus(s.info);
    } else {
        op.storeStatus(s.image);
        op.storeStatus(s.info);
    }
    return ok;
}

bool UpdateImage(Session& s, qint32 number)
{
    ImageRecord& r = s.image;
    DataOp op(s, QStringLiteral("UpdateImage"), {QString::number(number)});
    QString volume = SpaceIfEmpty(r.volumeId);
    QString size = SpaceIfEmpty(r.size);
    QString type = SpaceIfEmpty(r.type);
    const bool ok = op.exec(QStringLiteral("UPDATE %1 SET %2 = ?, %3 = ?, %4 = ?, %5 = ?, %6 = ? WHERE %7 = ?")
                                .arg(q("Images"), q("Path"), q("Volume ID"), q("Entry Date"), q("Size"), q("Type"), q("Image #")),
                            {r.path, CutToLimit(volume, VolumeIdWidth), op.dialect().dateValue(r.entryDate), CutToLimit(size, 1),
                             CutToLimit(type, 1), number})
                        .has_value();
    ok ? DataOp::clearStatus(r) : op.storeStatus(r);
    return ok;
}

bool ReadImage(Session& s, qint32 number)
{
    ImageRecord& r = s.image;
    DataOp op(s, QStringLiteral("ReadImage"), {QString::number(number)});
    static const QString select = QStringLiteral("SELECT %1, %2, %3, %4, %5, %6 FROM %7 WHERE %2 = ?")
                                      .arg(q("Entry Date"), q("Image #"), q("Path"), q("Size"), q("Type"), q("Volume ID"), q("Images"));
    const auto row = op.firstRow(select, {number});
    if (!row || row->size() != 6)
        return false;
    r.entryDate = op.dialect().readDate(row->at(0));
    r.imageNumber = row->at(1).toInt();
    r.path = NullToEmpty(row->at(2));
    r.size = NullToEmpty(row->at(3));
    r.type = NullToEmpty(row->at(4));
    r.volumeId = SpaceIfEmpty(NullToEmpty(row->at(5)));
    DataOp::clearStatus(r);
    return true;
}

bool DeleteImage(Session& s, qint32 number)
{
    DataOp op(s, QStringLiteral("DeleteImage"), {QString::number(number)});
    return op.exec(QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(q("Images"), q("Image #")), {number}).has_value();
}

bool DeleteImageAll(Session& s, qint32 number)
{
    return DeleteImagesAll(s, {number});
}

bool DeleteImagesAll(Session& s, const QList<qint32>& numbers)
{
    static const QString images = QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(q("Images"), q("Image #"));
    static const QString references = QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(q("Info"), q("Image #"));
    QStringList traced;
    for (const qint32 number : numbers)
        traced << QString::number(number);
    DataOp op(s, QStringLiteral("DeleteImageAll"), {traced.join(QLatin1Char(' '))});
    return op.transaction([&] {
        for (const qint32 number : numbers) {
            op.step(QStringLiteral("Deleting the image row of ") + QString::number(number));
            if (!op.repeat(images, {number}))
                return false;
            op.step(QStringLiteral("Deleting the references of ") + QString::number(number));
            if (!op.repeat(references, {number}))
                return false;
        }
        return true;
    });
}

bool LoadImages(Session& s, QStringList& lines, const SqlCondition& where)
{
    DataOp op(s, QStringLiteral("LoadImages"));
    lines.clear();
    auto query = op.exec(QStringLiteral("SELECT %1, min(%2)").arg(col("Info", "Image #"), col("Info", "Entry Date")) + joinCondition(where)
                             + QStringLiteral(" GROUP BY %1 ORDER BY %1").arg(col("Info", "Image #")),
                         where.binds);
    if (!query)
        return false;
    while (query->next())
        lines << QStringLiteral("TR") + SixDigits(query->value(0).toLongLong()) + QLatin1Char(' ')
                + ListDateText(op.dialect().readDate(query->value(1)));
    return true;
}

bool LoadImageGrid(Session& s, GridData& grid, const SqlCondition& where)
{
    DataOp op(s, QStringLiteral("LoadImageGrid"));
    const auto orDefault = [](const QString& shortName, const char* builtIn) {
        return shortName.isEmpty() ? QLatin1String(builtIn) : shortName;
    };
    grid.headers = {QStringLiteral("Heat #"), QStringLiteral("Part #"), orDefault(s.poShort, "P/O #"), orDefault(s.vendShort, "Vendor"),
                    orDefault(s.mfgShort, "Mfg"), QStringLiteral("Image #"), QStringLiteral("Entry Date")};
    grid.rows.clear();
    auto query = op.exec(QStringLiteral("SELECT %1, %2, %3, %4, %5, %6, %7")
                                 .arg(col("Info", "Heat #"), col("Info", "Part #"), col("Info", "P/O #"), col("Info", "Vend Name"),
                                      col("Info", "Mfg Name"), col("Info", "Image #"), col("Info", "Entry Date"))
                             + joinCondition(where)
                             + QStringLiteral(" ORDER BY %1, %2, %3, %4")
                                   .arg(col("Info", "Heat #"), col("Info", "Part #"), col("Info", "P/O #"), col("Info", "Image #")),
                         where.binds);
    if (!query)
        return false;
    while (query->next()) {
        QStringList line;
        for (int column = 0; column < 5; ++column)
            line << NullToEmpty(query->value(column));
        line << QStringLiteral("TR") + SixDigits(query->value(5).toLongLong()) << ListDateText(op.dialect().readDate(query->value(6)));
        grid.rows.append(line);
    }
    return true;
}

}  // namespace tarlox
