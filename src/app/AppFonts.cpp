#include "app/AppFonts.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QScreen>
#include <cmath>

namespace tolmi {
namespace {

struct Bracket {
    int above, below;  // both resolutions strictly between these
    int divisorA, divisorB;
};

constexpr Bracket kBrackets[] = {
    {96, 126, 92, 90}, {126, 151, 102, 100}, {151, 176, 112, 110}, {176, 201, 122, 120}, {201, 251, 132, 130},
};

bool Inside(int dpi, const Bracket& bracket) { return dpi > bracket.above && dpi < bracket.below; }

// MulDiv rounds half away from zero.
int MulDiv(int number, int numerator, int denominator) {
    return int(std::lround(double(number) * numerator / denominator));
}

QFont WithFace(const char* face, int weight) {
    QFont font(QString::fromLatin1(face));
    font.setWeight(QFont::Weight(weight));
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

}  // namespace

void InstallFontSubstitutes() {
    QFont::insertSubstitution(kFace, "Open Sans");
    QFont::insertSubstitution(kSemiboldFace, "Open Sans Semibold");
    QFont::insertSubstitution(kSemiboldFace, "Open Sans");
}

int Divisor(int dpiX, int dpiY, DivisorRow row) {
    for (const Bracket& bracket : kBrackets)
        if (Inside(dpiX, bracket) && Inside(dpiY, bracket))
            return row == DivisorRow::A ? bracket.divisorA : bracket.divisorB;
    return row == DivisorRow::A ? 72 : 70;
}

int BracketPixelHeight(int points, int dpiX, int dpiY, DivisorRow row) {
    return MulDiv(points, dpiY, Divisor(dpiX, dpiY, row));
}

QFont BracketFont(int points, int weight, const char* face, DivisorRow row) {
    int dpiX = 96, dpiY = 96;
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        dpiX = int(std::lround(screen->logicalDotsPerInchX()));
        dpiY = int(std::lround(screen->logicalDotsPerInchY()));
    }
    QFont font = WithFace(face, weight);
    font.setPixelSize(BracketPixelHeight(points, dpiX, dpiY, row));
    return font;
}

QFont CellFont(int cellHeight, const char* face, int weight) {
    QFont font = WithFace(face, weight);
    // The face's cell at a large size gives its ratio to the character height.
    font.setPixelSize(1000);
    const double cellPerPixel = QFontMetricsF(font).height() / 1000.0;
    font.setPixelSize(std::max(1, int(std::lround(cellHeight / cellPerPixel))));
    return font;
}

}  // namespace tolmi
