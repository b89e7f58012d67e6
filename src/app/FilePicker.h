#pragma once
// The two open dialogs of a job, behind one replaceable function so that
// tests can pick files without a dialog.

#include <QString>
#include <functional>

class QWidget;

namespace tolmi {

enum class FilePick { Corrupted, Reference };

// The chosen file's full path; empty when the dialog was dismissed.
using FilePicker = std::function<QString(QWidget* parent, FilePick pick)>;

QString PickWithFileDialog(QWidget* parent, FilePick pick);

}  // namespace tolmi
