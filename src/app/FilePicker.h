#pragma once
// The file dialogs of a job, behind one replaceable function so that tests
// can pick files without a dialog: the two open dialogs, and the save
// dialog with its proposed name, which has asked before it answers with
// an existing file.

#include <QString>
#include <functional>

class QWidget;

namespace tolmi {

enum class FilePick { Corrupted, Reference, SaveMov, SaveAvi };

// The chosen file's full path; empty when the dialog was dismissed.
// proposedName is the save dialog's name to start with.
using FilePicker = std::function<QString(QWidget* parent, FilePick pick, const QString& proposedName)>;

QString PickWithFileDialog(QWidget* parent, FilePick pick, const QString& proposedName);

}  // namespace tolmi
