#pragma once

#include <QString>

#include <optional>

namespace tarlox {

class Session;

// A form's window state and place as the local settings file keeps them:
// section "Form" unless another is named, keys name + "State", "Height",
// "Width", "Top", "Left", sizes in twips.
struct FormGeometry {
    enum State { Normal = 0, Minimized = 1, Maximized = 2 };
    std::optional<int> state;  // unset: never saved
    std::optional<double> height;
    std::optional<double> width;
    std::optional<double> top;
    std::optional<double> left;
};

constexpr int TwipsPerPixel = 15;
inline int TwipsToPixels(double twips) { return static_cast<int>(twips / TwipsPerPixel + 0.5); }
inline double PixelsToTwips(int pixels) { return static_cast<double>(pixels) * TwipsPerPixel; }

// The saved geometry; the four sizes only when the saved state is normal,
// and each only when its key holds something.
FormGeometry ReadFormGeometry(Session& session, const QString& section, const QString& name);
// Writes the state, and the four sizes when the state is normal, so that a
// minimized or maximized form keeps the normal size it last had.
void WriteFormGeometry(Session& session, const QString& section, const QString& name, const FormGeometry& geometry);

}  // namespace tarlox
