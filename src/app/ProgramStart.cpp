#include "app/ProgramStart.h"

#include <unistd.h>

#include <QMessageBox>
#include <QProcess>
#include <cerrno>

#include "workflow/Language.h"

namespace tolmi {
namespace {

// The shell's result for a program that cannot be started, from the errno
// of the same attempt.
int ResultForErrno(int error) {
    switch (error) {
        case ENOENT: return 2;
        case ENOTDIR: return 3;
        case EACCES:
        case EPERM: return 5;
        case ENOMEM: return 8;
        case ENOEXEC: return 11;
        default: return 0;
    }
}

}  // namespace

int StartProgram(const QString& program, const QStringList& arguments, const QString& workingDir,
                 const QStringList& extraEnvironment) {
    // The same check as the start's own, for the errno it would give.
    if (::access(program.toLocal8Bit().constData(), X_OK) != 0) return ResultForErrno(errno);
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDir);
    if (!extraEnvironment.isEmpty()) process.setEnvironment(QProcess::systemEnvironment() + extraEnvironment);
    return process.startDetached() ? kStarted : ResultForErrno(ENOEXEC);
}

QString StartFailureText(int result) {
    switch (result) {
        case 0: return "The operating system is out of memory or resources.";
        case 2: return "The specified file was not found.";
        case 3: return "The specified path was not found.";
        case 5: return "The operating system denied access to the specified file.";
        case 8: return "There was not enough memory to complete the operation.";
        case 11: return "The file is invalid (it's a non-Win32 file).";
        case 26: return "A sharing violation occurred.";
        case 27: return "The file name association is incomplete or invalid.";
        case 28: return "The DDE transaction could not be completed because the request timed out.";
        case 29: return "The DDE transaction failed.";
        case 30:
            return "The DDE transaction could not be completed because other DDE transactions were being processed.";
        case 31:
            return "There is no application associated with the given file name extension. This error will also be "
                   "returned if you attempt to print a file that is not printable.";
        case 32: return "The specified DLL was not found.";
        default: return {};
    }
}

void TellStartFailure(QWidget* parent, int result) {
    QMessageBox::critical(parent, QString::fromStdString(LoadText("IDS_RUNNING3")), StartFailureText(result));
}

}  // namespace tolmi
