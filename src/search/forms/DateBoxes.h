#pragma once

#include <QList>
#include <QObject>

class QLineEdit;

namespace tarlox {

class Session;

// The boxes of a criteria screen (Find, Listing, Ascii Listing): each
// selects its text when it takes the focus; a date box completes the date
// when it loses it and, when the text is no date, says "Invalid Date" and
// takes the focus back.
class DateBoxes : public QObject {
public:
    DateBoxes(Session& session, const QList<QLineEdit*>& boxes, const QList<QLineEdit*>& dateBoxes, QObject* parent);

    // 0 when the box holds a date or nothing; else 1, after telling.
    int CheckDate(QLineEdit* box);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Session& session_;
    QList<QLineEdit*> dates_;
    bool checking_ = false;
};

}  // namespace tarlox
