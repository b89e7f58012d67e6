#include "app/CXProgressBar.h"

#include <QPainter>
#include <QTimerEvent>

#include "workflow/RepairSession.h"

namespace tolmi {

CXProgressBar::CXProgressBar(QWidget* parent) : QWidget(parent) { setAttribute(Qt::WA_OpaquePaintEvent); }

bool CXProgressBar::SetPos(int value) {
    if (value < 0 || value > 100) return false;
    targetWidth_ = step() * value;
    animation_.start(20, this);
    return true;
}

void CXProgressBar::SetBarColors(QColor background, QColor bar) {
    background_ = background;
    bar_ = bar;
    update();
}

void CXProgressBar::ResetAnimation() {
    drawnWidth_ = 0;
    update();
}

// The width of one percent, rounded up, so that 100 % fills the bar.
int CXProgressBar::step() const { return (width() + 99) / 100; }

int CXProgressBar::JobFigure() {
    const RepairSession& s = Session();
    if (s.saving == 1) return s.savePercent;
    return s.isMovJob ? s.percent : s.aviPercent;
}

void CXProgressBar::timerEvent(QTimerEvent* event) {
    if (event->timerId() != animation_.timerId()) return;
    if (targetWidth_ == drawnWidth_) animation_.stop();
    else drawnWidth_ = step() * JobFigure();
    update();
}

void CXProgressBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    int width = drawnWidth_;
    // A job that is starting shows an empty bar first.
    if (Session().progressResetPending.exchange(0)) width = 0;
    width = std::min(width, this->width());
    painter.fillRect(0, 0, width, height(), bar_);
    painter.fillRect(width, 0, this->width() - width, height(), background_);
}

}  // namespace tolmi
