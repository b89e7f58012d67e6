#pragma once
// The middle band: the file pickers, the progress display of a running job,
// the properties of a finished one, and the picture of the page.

#include <QWidget>

#include "app/ScreenModel.h"

namespace tolmi {

class CButtonST;
class CHyperLink;
class CXCmdBtn;
class CXProgressBar;
class CXStatic;

class CXContainer : public QWidget {
    Q_OBJECT
public:
    explicit CXContainer(QWidget* parent);
    void addControls(ControlMap& map);

    void setPicture(MiddlePicture picture);
    void setStatus(const QString& text);
    void setPercentText(const QString& text);
    void setTimes(const QString& start, const QString& elapsed);
    // The progress display of a job that starts: empty bar, "0%", zero times.
    void resetProgress(const QString& status);
    // The six rows of the properties view, from the core's values.
    void fillProperties();

    CXCmdBtn* addFile;
    CXCmdBtn* referenceButton;
    CHyperLink* helpLink;
    CButtonST* previewPicture;
    CXProgressBar* bar;
    CXStatic* percent;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    CXStatic* status_;
    CXStatic *startLabel_, *startValue_, *elapsedLabel_, *elapsedValue_;
    QWidget* properties_;
    std::vector<std::pair<CXStatic*, CXStatic*>> rows_;
    MiddlePicture picture_ = MiddlePicture::Welcome;
};

}  // namespace tolmi
