#pragma once

#include <QString>

namespace tarlox {

class Session;
struct DrawSettings;

// The annotation tools' settings as the property forms show and keep them.
// They are held in session.draw and written to section "Draw" of the local
// settings file when a property form closes.

// A pen width typed in a box: at most 100, at least 1 (an empty or
// unreadable box gives 1).
int ClampPenWidth(const QString& typed);

// Writes LineWidth.
void SaveLineSettings(Session& session);
// Writes RectangleWidth, RectangleFill, RectangleBlack, in that order.
void SaveRectangleSettings(Session& session);
// Writes StampType, StampOvl, StampText, FontName, FontSize, FontBold,
// FontItalic, StampCenter, StampImage, in that order.
void SaveStampSettings(Session& session);

// Stamp text as the settings hold it ("|" between lines) and as a text box
// shows it (one line each). From the box, a carriage return becomes "|" and
// the line feed after it is skipped; a lone line feed counts as a break too.
QString StampTextFromBox(const QString& boxText);
QString StampTextToBox(const QString& stampText);

// "Arial 12point Bold Italic ": face, a blank, size, "point ", then "Bold "
// and "Italic " as they apply.
QString FontDescription(const DrawSettings& draw);

}  // namespace tarlox
