#include "app/ProblemReport.h"

#include <QApplication>
#include <QEvent>

#include "app/CXStatic.h"
#include "app/ProgramStart.h"
#include "platform/Environment.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr int kKeptMessages = 10;

}  // namespace

ProblemReport::ProblemReport(QObject* parent) : QObject(parent) { qApp->installEventFilter(this); }

// A message dialog that opens is one more of the last messages.
bool ProblemReport::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show && watched->objectName() == "messageDialog") {
        const auto* caption = watched->findChild<CXStatic*>("caption");
        const auto* body = watched->findChild<CXStatic*>("body");
        if (caption && body) messages_.append(caption->text() + ": " + body->text());
        while (messages_.size() > kKeptMessages) messages_.removeFirst();
    }
    return false;
}

void ProblemReport::start() {
    const RepairSession& s = Session();
    const QString dir = QString::fromStdString(JoinPath(Environment::CompanionDir(), "reporting"));
    const QString argument = "Tolmi Video Repair$" + QString::fromStdString(s.corruptedName) + "$null";
    StartProgram(dir + "/tmreport", {argument}, dir,
                 {"TOLMI_REPORT_FILE=" + QString::fromStdString(s.corruptedPath),
                  "TOLMI_REPORT_MESSAGES=" + messages_.join('\n')});
}

}  // namespace tolmi
