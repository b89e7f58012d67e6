#pragma once
// The fonts of the window. The faces are "Segoe UI" and "Segoe UI
// Semibold", substituted by a Debian face with a semibold weight, so the
// window looks alike on every machine. Two kinds of size are in use: the
// labels give a cell height in pixels (ascent plus descent), the sections'
// and dialog's font sets give points, turned into a character height
// through the divisor table of the screen's resolution.

#include <QFont>

namespace tolmi {

inline constexpr const char* kFace = "Segoe UI";
inline constexpr const char* kSemiboldFace = "Segoe UI Semibold";

// Routes the two faces to the installed substitute; once, before any widget.
void InstallFontSubstitutes();

// Row A or B of the divisor table.
enum class DivisorRow { A, B };
int Divisor(int dpiX, int dpiY, DivisorRow row);
// The character height in pixels of a font of `points` at the resolution.
int BracketPixelHeight(int points, int dpiX, int dpiY, DivisorRow row);

// A font of the sections' and dialog's sets, at the primary screen's resolution.
QFont BracketFont(int points, int weight, const char* face, DivisorRow row);
// A label's font whose cell (ascent plus descent) is `cellHeight` pixels.
QFont CellFont(int cellHeight, const char* face = kFace, int weight = 400);

}  // namespace tolmi
