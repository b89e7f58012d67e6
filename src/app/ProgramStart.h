#pragma once
// Starting the programs that go with the window (the player, the update,
// the problem report) and telling why one could not be started, in the
// words of the shell's result table.

#include <QString>
#include <QStringList>

class QWidget;

namespace tolmi {

inline constexpr int kStarted = -1;

// kStarted, or the shell's result for what stopped the start.
int StartProgram(const QString& program, const QStringList& arguments, const QString& workingDir = {},
                 const QStringList& extraEnvironment = {});
QString StartFailureText(int result);
// The failure box: stop icon, titled with the text of "IDS_RUNNING3".
void TellStartFailure(QWidget* parent, int result);

}  // namespace tolmi
