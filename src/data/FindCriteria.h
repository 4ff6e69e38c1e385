#pragma once

#include <QString>

#include <optional>

namespace tarlox {

// What a find looks for: the texts of the nine criteria boxes, as typed.
// The last find's criteria stay in the session (session.findQuery), and the
// screens that work on a found set (select all, export, move, delete) run
// them again through FindCondition instead of pasting SQL text.
struct FindCriteria {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QString imageNumber;
    QString path;
    QString from;
    QString to;
    // "AssumeWild" as it stood when the find ran; unset until then, and a
    // search of criteria without it reads the setting afresh.
    std::optional<bool> assumeWild;

    bool isEmpty() const
    {
        return heat.isEmpty() && part.isEmpty() && po.isEmpty() && vend.isEmpty() && mfg.isEmpty() && imageNumber.isEmpty()
            && path.isEmpty() && from.isEmpty() && to.isEmpty();
    }
};

}  // namespace tarlox
