#pragma once
// The lower band: the buttons that drive a job, the labels that name its
// files, and the one-second clock of the job.

#include <QBasicTimer>
#include <QWidget>

#include "app/ScreenModel.h"

namespace tolmi {

class CHyperLink;
class CXCmdBtn;
class CXStatic;

class CXBottomSection : public QWidget {
    Q_OBJECT
public:
    explicit CXBottomSection(QWidget* parent);
    void addControls(ControlMap& map);
    // Cancel stands beside Repair, or in its place while a save runs.
    void placeCancel(bool inRepairPlace);

    // The job's clock: a tick a second while it runs.
    void startClock();
    void stopClock();

    CXCmdBtn *repair, *pause, *save, *cancel, *back, *preview, *home;
    CXStatic *selectedLabel, *corruptedLabel, *referenceLabel, *aviPathLabel, *addHintLabel, *unableLabel;
    CHyperLink* reportLink;

signals:
    void clockTicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    QRect repairPlace() const;
    QRect cancelPlace() const;

    QBasicTimer clock_;
    bool cancelInRepairPlace_ = false;
};

}  // namespace tolmi
