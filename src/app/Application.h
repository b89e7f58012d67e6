#pragma once
// What the program sets up before its first window: names, icon, fonts.

class QApplication;

namespace tolmi {

void PrepareApplication(QApplication& app);

}  // namespace tolmi
