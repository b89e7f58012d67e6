#include "ScriptedUi.h"

#include "workflow/RepairSession.h"

namespace tolmi::test {

void ScriptedUi::record(const std::string& line) {
    std::function<void()> action;
    {
        std::lock_guard guard(lock_);
        calls_.push_back(line);
        for (auto it = actions_.begin(); it != actions_.end(); ++it) {
            if (line.rfind(it->first, 0) == 0) {
                action = std::move(it->second);
                actions_.erase(it);
                break;
            }
        }
    }
    if (action) action();
}

void ScriptedUi::showRepairPage(const std::string& statusTextKey) { record("showRepairPage " + statusTextKey); }
void ScriptedUi::showStatus(const std::string& text) { record("showStatus " + text); }

void ScriptedUi::showMessage(int kind, const std::string& textKey, const std::string& titleKey,
                             DialogButtons buttons) {
    Session().messageKind = kind;
    record("showMessage " + std::to_string(kind) + " " + textKey + " " + titleKey);
    bool yes = false;
    if (buttons == DialogButtons::YesNo) {
        std::lock_guard guard(lock_);
        if (!answers_.empty()) {
            yes = answers_.front();
            answers_.pop_front();
        }
    }
    Session().lastAnswer = yes ? 1 : 0;
    Session().messageKind = 0;
}

void ScriptedUi::askForReference() { record("askForReference"); }
void ScriptedUi::startElapsedTimer() { record("startElapsedTimer"); }
void ScriptedUi::goHome() { record("goHome"); }
void ScriptedUi::showResult() { record("showResult"); }

void ScriptedUi::setProgress(int percent) {
    {
        std::lock_guard guard(lock_);
        progress_.push_back(percent);
    }
}

void ScriptedUi::onAviProgress() {
    std::lock_guard guard(lock_);
    progress_.push_back(Session().aviPercent.load());
}

void ScriptedUi::answerYesNo(std::deque<bool> answers) {
    std::lock_guard guard(lock_);
    answers_ = std::move(answers);
}

void ScriptedUi::onCall(const std::string& prefix, std::function<void()> action) {
    std::lock_guard guard(lock_);
    actions_.emplace_back(prefix, std::move(action));
}

std::vector<std::string> ScriptedUi::calls() const {
    std::lock_guard guard(lock_);
    return calls_;
}

bool ScriptedUi::called(const std::string& prefix) const {
    std::lock_guard guard(lock_);
    for (const auto& c : calls_)
        if (c.rfind(prefix, 0) == 0) return true;
    return false;
}

std::vector<int> ScriptedUi::progress() const {
    std::lock_guard guard(lock_);
    return progress_;
}

}  // namespace tolmi::test
