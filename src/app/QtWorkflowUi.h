#pragma once
// The window as the core's WorkflowUi. The worker never touches a widget:
// each call is handed to the GUI thread, and only the dialog makes the
// worker wait for its answer. The GUI thread never waits for the worker.

#include "workflow/WorkflowUi.h"

namespace tolmi {

class CMainFrame;

class QtWorkflowUi : public WorkflowUi {
public:
    explicit QtWorkflowUi(CMainFrame& frame) : frame_(frame) {}

    void showRepairPage(const std::string& statusTextKey) override;
    void showStatus(const std::string& text) override;
    void showMessage(int kind, const std::string& textKey, const std::string& titleKey,
                     DialogButtons buttons) override;
    void askForReference() override;
    void startElapsedTimer() override;
    void goHome() override;
    void showResult() override;
    void setProgress(int percent) override;
    void onAviProgress() override;

private:
    // Runs action on the GUI thread: at once there, else queued behind the
    // calls before it; `wait` makes the calling thread wait for it.
    template <typename Action>
    void onGuiThread(Action action, bool wait = false);

    CMainFrame& frame_;
};

}  // namespace tolmi
