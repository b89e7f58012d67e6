#include "app/CSavePage.h"

#include <QTimerEvent>

#include "workflow/RepairSession.h"

namespace tolmi {

CSavePage::CSavePage(QObject* parent) : QObject(parent) {
    percentTimer_.start(500, this);
    thread_ = std::thread([this] {
        const SaveOutcome outcome = runSave();
        QMetaObject::invokeMethod(this, [this, outcome] {
            thread_.join();  // it has nothing left to do but return
            percentTimer_.stop();
            emit ended(outcome);
        }, Qt::QueuedConnection);
    });
}

CSavePage::~CSavePage() {
    if (thread_.joinable()) thread_.join();
}

void CSavePage::timerEvent(QTimerEvent* event) {
    if (event->timerId() != percentTimer_.timerId()) return;
    RepairSession& s = Session();
    const int percent = s.savePercent;
    if (percent <= s.shownSavePercent) return;
    s.shownSavePercent = percent;
    emit percentChanged(percent);
}

}  // namespace tolmi
