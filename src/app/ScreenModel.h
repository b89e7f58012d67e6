#pragma once
// What the window shows in each state of a job, worked out in one place
// from the session: the title, which controls stand and which of them are
// disabled, the picture of the middle section, and the texts that follow
// from the session's fields. The sections only apply it.

#include <QString>
#include <map>
#include <vector>

#include "workflow/RepairSession.h"

class QWidget;

namespace tolmi {

// The controls whose presence changes with the state.
enum class Ctl {
    // bottom section
    AddHint, Selected, Corrupted, Reference, AviPath, Unable, ReportLink,
    Repair, Pause, Save, Cancel, Back, PreviewButton, Home,
    // container section
    AddFile, ReferenceButton, HelpLink, Status, Bar, Percent, StartTime, Elapsed, Properties, PreviewPicture,
};
// The control's object name, which tests look it up by.
const char* CtlName(Ctl control);

// The widgets that stand for each control; set up by the sections.
using ControlMap = std::map<Ctl, std::vector<QWidget*>>;

enum class MiddlePicture { None, Welcome, Busy };

struct Screen {
    JobState state;
    const char* titleKey;
    std::vector<Ctl> shown;     // every other control is hidden
    std::vector<Ctl> disabled;  // of those shown
    MiddlePicture picture;
    const char* pauseKey;       // "IDS_PAUSE", "IDS_RESUME" while paused
    bool referencePrompt;       // the reference label asks for a file, in red
    bool cancelInRepairPlace;   // the save moves Cancel where Repair stands
    QString fileLabelText;      // the corrupted-file label (the destination while saving)
    QString referenceText;
    QString statusOverride;     // the status line's text where the state fixes it

    bool isShown(Ctl control) const;
    bool isEnabled(Ctl control) const;
};

Screen ScreenFor(const RepairSession& session);

}  // namespace tolmi
