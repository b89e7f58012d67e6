#include "app/CXTopSection.h"

#include <QPainter>

#include "app/CXStatic.h"
#include "app/Look.h"

namespace tolmi {

CXTopSection::CXTopSection(QWidget* parent)
    : QWidget(parent), titleLabel_(new CXStatic(this, 25, look::kText, look::kBand)) {
    titleLabel_->setObjectName("titleLabel");
    titleLabel_->setGeometry(look::Ltrb(10, 10, 370, 40));
}

void CXTopSection::setTitle(const QString& text) { titleLabel_->setText(text); }
QString CXTopSection::title() const { return titleLabel_->text(); }

void CXTopSection::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(0, 0, width(), height() - 2, look::kBand);
    painter.fillRect(0, height() - 2, width(), 2, look::kWhite);
}

}  // namespace tolmi
