#include "app/ScreenModel.h"

#include <algorithm>

#include "workflow/JobControl.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

QString Text(const std::string& key) { return QString::fromStdString(LoadText(key)); }

// The label of the file the job reads: the MOV job's corrupted-file label,
// or the AVI job's path label.
Ctl FileLabel(const RepairSession& s) { return s.isMovJob ? Ctl::Corrupted : Ctl::AviPath; }

// The bottom labels that name the job's files while it runs or asks.
std::vector<Ctl> JobLabels(const RepairSession& s) {
    std::vector<Ctl> labels{Ctl::Selected, FileLabel(s)};
    if (s.isMovJob && !s.referencePath.empty() && s.referencePath != s.corruptedPath) labels.push_back(Ctl::Reference);
    return labels;
}

std::vector<Ctl> Joined(std::vector<Ctl> a, std::initializer_list<Ctl> b) {
    a.insert(a.end(), b);
    return a;
}

// The save shows where the result goes, shortened as the file labels are.
QString DestinationText(const RepairSession& s) {
    const std::string prefix = LoadText("IDS_DESTINATION") + ": ";
    return QString::fromStdString(DisplayForm(prefix, s.saveTargetPath, 60));
}

constexpr std::initializer_list<Ctl> kProgressDisplay = {Ctl::Status, Ctl::Bar, Ctl::Percent, Ctl::StartTime,
                                                         Ctl::Elapsed};

}  // namespace

const char* CtlName(Ctl control) {
    switch (control) {
        case Ctl::AddHint: return "addHintLabel";
        case Ctl::Selected: return "selectedLabel";
        case Ctl::Corrupted: return "corruptedLabel";
        case Ctl::Reference: return "referenceLabel";
        case Ctl::AviPath: return "aviPathLabel";
        case Ctl::Unable: return "unableLabel";
        case Ctl::ReportLink: return "reportLink";
        case Ctl::Repair: return "repairButton";
        case Ctl::Pause: return "pauseButton";
        case Ctl::Save: return "saveButton";
        case Ctl::Cancel: return "cancelButton";
        case Ctl::Back: return "backButton";
        case Ctl::PreviewButton: return "previewButton";
        case Ctl::Home: return "homeButton";
        case Ctl::AddFile: return "addFileButton";
        case Ctl::ReferenceButton: return "referenceButton";
        case Ctl::HelpLink: return "helpLink";
        case Ctl::Status: return "statusLine";
        case Ctl::Bar: return "progressBar";
        case Ctl::Percent: return "percentLabel";
        case Ctl::StartTime: return "startTime";
        case Ctl::Elapsed: return "elapsedTime";
        case Ctl::Properties: return "properties";
        case Ctl::PreviewPicture: return "previewPicture";
    }
    return "";
}

bool Screen::isShown(Ctl control) const { return std::find(shown.begin(), shown.end(), control) != shown.end(); }

bool Screen::isEnabled(Ctl control) const {
    return std::find(disabled.begin(), disabled.end(), control) == disabled.end();
}

Screen ScreenFor(const RepairSession& s) {
    Screen screen{s.State(), "IDS_SELECT_VIDEO", {}, {}, MiddlePicture::None, s.paused ? "IDS_RESUME" : "IDS_PAUSE",
                  false, false, QString::fromStdString(s.corruptedDisplay),
                  QString::fromStdString(s.referenceDisplay), {}};
    switch (screen.state) {
        case JobState::Idle:
            screen.shown = {Ctl::AddHint, Ctl::AddFile};
            break;
        case JobState::Picked:
            screen.shown = {Ctl::Selected, FileLabel(s), Ctl::Repair, Ctl::Back};
            // An AVI job may still pick another file; a MOV job goes Back first.
            if (!s.isMovJob) screen.shown.push_back(Ctl::AddFile);
            break;
        case JobState::Running:
        case JobState::Paused:
        case JobState::Confirming:
            screen.titleKey = "IDS_REPAIRING_VIDEO";
            screen.shown = Joined(Joined(JobLabels(s), {Ctl::Pause, Ctl::Cancel}), kProgressDisplay);
            break;
        case JobState::NeedsReference:
        case JobState::ReferenceChosen:
            screen.titleKey = "IDS_SELECT_REFERNCE_HEADER";
            screen.shown = {Ctl::Selected, Ctl::Corrupted, Ctl::Reference, Ctl::Repair, Ctl::Back,
                            Ctl::ReferenceButton, Ctl::HelpLink};
            screen.referencePrompt = screen.state == JobState::NeedsReference;
            if (screen.referencePrompt) {
                screen.disabled = {Ctl::Repair};
                screen.referenceText = Text("IDS_SELECT_REFERENCE");
            }
            break;
        case JobState::Finished:
            screen.titleKey = "IDS_REPAIRED_DETAILS";
            screen.shown = {Ctl::Home, Ctl::PreviewButton, Ctl::Save, Ctl::Unable, Ctl::ReportLink, Ctl::Properties,
                            Ctl::PreviewPicture};
            break;
        case JobState::Saving:
            screen.titleKey = "IDS_SAVING_VIDEO";
            screen.shown = Joined({FileLabel(s), Ctl::Cancel}, kProgressDisplay);
            screen.cancelInRepairPlace = true;
            screen.fileLabelText = DestinationText(s);
            screen.statusOverride = Text("IDS_PLEASE_WAIT_SAVING");
            break;
    }
    // The properties take the place of the pictures.
    if (s.repairing || s.savePageActive) screen.picture = MiddlePicture::Busy;
    else if (s.showWelcome && screen.state != JobState::Finished) screen.picture = MiddlePicture::Welcome;
    return screen;
}

}  // namespace tolmi
