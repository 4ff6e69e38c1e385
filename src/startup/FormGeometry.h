#pragma once

#include <QString>

#include <optional>

namespace tarlox {

class Session;

// A form's window state and normal-state place and size as the local
// settings file keeps them: section "Form" unless another is named, keys
// name + "State", "Height", "Width", "Top", "Left"; sizes in twips.
struct FormGeometry {
    enum State { Normal = 0, Minimized = 1, Maximized = 2 };
    std::optional<int> state;  // empty: never saved
    std::optional<double> height;
    std::optional<double> width;
    std::optional<double> top;
    std::optional<double> left;
};

// Twips per pixel of the screen.
inline constexpr double kTwipsPerPixel = 15;
inline int TwipsToPixels(double twips) { return int(twips / kTwipsPerPixel + 0.5); }
inline double PixelsToTwips(int pixels) { return pixels * kTwipsPerPixel; }

// The saved geometry; a key that is empty after trimming stays unset, and
// with a saved state other than normal the four sizes are not read.
FormGeometry GetFormSize(Session& session, const QString& section, const QString& name);
// Writes the state, and in the normal state the four sizes as
// single-precision numbers; a minimized or maximized form keeps the size
// last saved.
void SaveFormSize(Session& session, const QString& section, const QString& name, const FormGeometry& geometry);

}  // namespace tarlox
