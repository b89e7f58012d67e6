#pragma once
// A WorkflowUi for tests: records every call as a line of text, answers
// each dialog from a script (Yes = 1, No/Ok = 0; Ok dialogs always answer 0),
// and can run an action when a given call arrives (press Pause or Cancel).

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "workflow/WorkflowUi.h"

namespace tolmi::test {

class ScriptedUi : public WorkflowUi {
public:
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

    // Answers of the Yes/No dialogs to come, in order; No when the script is empty.
    void answerYesNo(std::deque<bool> answers);
    // Runs action once, on the first call whose record starts with prefix.
    void onCall(const std::string& prefix, std::function<void()> action);

    std::vector<std::string> calls() const;
    bool called(const std::string& prefix) const;
    std::vector<int> progress() const;

private:
    void record(const std::string& line);

    mutable std::mutex lock_;
    std::vector<std::string> calls_;
    std::vector<int> progress_;
    std::deque<bool> answers_;
    std::vector<std::pair<std::string, std::function<void()>>> actions_;
};

}  // namespace tolmi::test
