#pragma once
// One save at work: the thread that moves the result, and the half-second
// timer (503) that carries the move's percent to the screen. The page ends
// on the GUI thread with the save's outcome, its thread joined; the GUI
// thread never waits for the move.

#include <QBasicTimer>
#include <QObject>
#include <thread>

#include "workflow/SaveFlow.h"

namespace tolmi {

class CSavePage : public QObject {
    Q_OBJECT
public:
    // Starts the move that prepareSave made ready.
    explicit CSavePage(QObject* parent);
    ~CSavePage() override;

signals:
    // The move's percent grew beyond what the screen shows.
    void percentChanged(int percent);
    void ended(tolmi::SaveOutcome outcome);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QBasicTimer percentTimer_;
    std::thread thread_;
};

}  // namespace tolmi
