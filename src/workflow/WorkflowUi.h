#pragma once
// Everything the repair logic needs of a screen. Each operation is
// synchronous: one that stands for a modal dialog returns when the user has
// answered. Operations called by the worker run on the worker thread.

#include <string>

namespace tolmi {

enum class DialogButtons { Ok, YesNo };

class WorkflowUi {
public:
    virtual ~WorkflowUi() = default;

    // The running page: title, buttons, bar at zero, "0%", both times
    // " 00:00:00", and the status line with statusTextKey's text.
    virtual void showRepairPage(const std::string& statusTextKey) = 0;
    virtual void showStatus(const std::string& text) = 0;
    // Sets messageKind, shows the dialog, blocks until answered, leaves the
    // answer in lastAnswer and sets messageKind back to 0.
    virtual void showMessage(int kind, const std::string& textKey, const std::string& titleKey,
                             DialogButtons buttons) = 0;
    virtual void askForReference() = 0;
    virtual void startElapsedTimer() = 0;
    // Back to the idle page: deletes the temporary output, clears the paths.
    virtual void goHome() = 0;
    // The result page; the front end runs the finish step through it.
    virtual void showResult() = 0;

    // Progress of a MOV job, written by the engine from the worker thread:
    // bar and percent label. The AVI engine uses it only to set the bar back
    // to 0; its percent label follows onAviProgress.
    virtual void setProgress(int percent) = 0;
    // The AVI engine's event for each change of aviPercent.
    virtual void onAviProgress() = 0;
};

}  // namespace tolmi
