#include "app/FilePicker.h"

#include <QFileDialog>

namespace tolmi {

QString PickWithFileDialog(QWidget* parent, FilePick pick) {
    // "*divx" has no point: any name that ends so is offered.
    const QString filter = pick == FilePick::Corrupted ? QStringLiteral("Video Files (*.avi *divx *.xvid *.mov *.mp4)")
                                                       : QStringLiteral("Mov Files (*.mov *.mp4)");
    QFileDialog dialog(parent, QString(), QString(), filter);
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().first();
}

}  // namespace tolmi
