#pragma once

#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

namespace tarlox {

class Session;

// Window measures are kept in twips, 1/1440 inch: 15 to a pixel at 96 dpi.
// Sizes in the settings files stay comparable between machines and scalings
// because they are written in twips of device-independent pixels.
constexpr int TwipsPerPixel = 15;
constexpr int PixelsToTwips(int pixels) { return pixels * TwipsPerPixel; }
int TwipsToPixels(double twips);

// The frame with no child open is a strip this wide.
constexpr int StripWidthTwips = 3500;

// Window states as they stand in the settings files.
enum class FormState { Normal = 0, Minimized = 1, Maximized = 2 };

// A window's place as stored: the state, and the four measures (twips) of
// its normal place. Each value is missing when its key is empty.
struct FormGeometry {
    std::optional<FormState> state;
    std::optional<double> height;
    std::optional<double> width;
    std::optional<double> top;
    std::optional<double> left;
};

// Keys name + "State", "Height", "Width", "Top", "Left" in section (empty:
// "Form") of the local file. The measures are written only for a window in
// its normal state, so a maximized one keeps the normal place it last had.
void SaveFormGeometry(Session& session, const QString& section, const QString& name, FormState state, const QRect& normalTwips);
FormGeometry ReadFormGeometry(Session& session, const QString& section, const QString& name);

// The layout keys of a control's tag: each keeps one edge at a distance
// from the form's right or bottom edge (twips).
struct LayoutTag {
    std::optional<int> fromRight;
    std::optional<int> fromBottom;
    std::optional<int> fromWidth;
    std::optional<int> fromHeight;
    bool isEmpty() const { return !fromRight && !fromBottom && !fromWidth && !fromHeight; }
};
LayoutTag ReadLayoutTag(const QString& tag);

// MinWidth and MinHeight of a form's tag, twips; 0 where a key is missing.
QSize MinimumSizeOfTag(const QString& tag);

// Where a control stands on a form of the given size (both in twips).
QRect PlaceByLayoutTag(const LayoutTag& layout, const QSize& form, const QRect& control);

}  // namespace tarlox
