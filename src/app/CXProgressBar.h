#pragma once
// The five-pixel progress bar. Its drawn width follows the job's own figure
// (the save's, the MOV job's or the AVI job's percent): a 20 ms timer moves
// it towards the position last set (0 to 100), reading the figure as it goes.

#include <QBasicTimer>
#include <QWidget>

namespace tolmi {

class CXProgressBar : public QWidget {
    Q_OBJECT
public:
    explicit CXProgressBar(QWidget* parent);

    bool SetPos(int value);
    void SetBarColors(QColor background, QColor bar);
    void ResetAnimation();
    int drawnWidth() const { return drawnWidth_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    int step() const;
    static int JobFigure();

    int drawnWidth_ = 0, targetWidth_ = 0;
    QColor background_{0x00, 0xaf, 0x78}, bar_{0x2d, 0xc8, 0xa5};
    QBasicTimer animation_;
};

}  // namespace tolmi
