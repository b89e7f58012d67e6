#include "app/QtWorkflowUi.h"

#include <QMetaObject>
#include <QThread>

#include "app/CMainFrame.h"

namespace tolmi {

template <typename Action>
void QtWorkflowUi::onGuiThread(Action action, bool wait) {
    if (QThread::currentThread() == frame_.thread()) {
        action();
        return;
    }
    QMetaObject::invokeMethod(&frame_, std::move(action), wait ? Qt::BlockingQueuedConnection : Qt::QueuedConnection);
}

void QtWorkflowUi::showRepairPage(const std::string& statusTextKey) {
    onGuiThread([this, statusTextKey] { frame_.showRepairPage(statusTextKey); });
}

void QtWorkflowUi::showStatus(const std::string& text) {
    onGuiThread([this, text = QString::fromStdString(text)] { frame_.showStatus(text); });
}

// The buttons follow from the kind, so the window needs only the kind.
void QtWorkflowUi::showMessage(int kind, const std::string& textKey, const std::string& titleKey, DialogButtons) {
    onGuiThread([this, kind, textKey, titleKey] { frame_.showMessage(kind, textKey, titleKey); }, true);
}

void QtWorkflowUi::askForReference() {
    onGuiThread([this] { frame_.askForReference(); });
}

void QtWorkflowUi::startElapsedTimer() {
    onGuiThread([this] { frame_.startElapsedTimer(); });
}

void QtWorkflowUi::goHome() {
    onGuiThread([this] { frame_.goHome(); });
}

void QtWorkflowUi::showResult() {
    onGuiThread([this] { frame_.showResult(); });
}

void QtWorkflowUi::setProgress(int percent) {
    onGuiThread([this, percent] { frame_.setProgress(percent); });
}

void QtWorkflowUi::onAviProgress() {
    onGuiThread([this] { frame_.onAviProgress(); });
}

}  // namespace tolmi
