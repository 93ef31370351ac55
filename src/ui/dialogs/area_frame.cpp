#include "ui/dialogs/area_frame.h"

#include <algorithm>

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <kyimaging/kyimaging.h>

#include "ui/dialogs/widgets.h"
#include "ui/resources/resources.h"

namespace kyfui {

namespace {

constexpr int kPenWidth = 2;
constexpr int kHintLines = 15; // of text, in height; 4 to 3
constexpr int kLeastLines = 8;

PictureFrame FrameOf(const QWidget& widget) { return {0, 0, widget.width(), widget.height()}; }

std::int32_t HalfSize() { return AreaHalfSize(KyiGetWindowScalingDisplayMagnificationValue()); }

/// Where the square can be seen, in numbers that a painter takes; empty where it cannot.
QRect Drawable(const AreaSquare& square, const QRect& frame) {
    const bool touches = square.Right > frame.left() && square.Left <= frame.right() && square.Bottom > frame.top() &&
                         square.Top <= frame.bottom() && square.Left < square.Right && square.Top < square.Bottom;
    if (!touches) return {};
    const auto cut = [](std::int64_t value) {
        return static_cast<int>(std::clamp<std::int64_t>(value, -100000, 100000));
    };
    return {QPoint(cut(square.Left), cut(square.Top)), QPoint(cut(square.Right - 1), cut(square.Bottom - 1))};
}

QSize SizeInLines(const QWidget& widget, int lines) {
    const int height = lines * widget.fontMetrics().height();
    return {height * 4 / 3, height};
}

} // namespace

AreaFrame::AreaFrame(const Areas& areas, QWidget* parent)
    : QWidget(parent), m_picture(areas, {0, 0, 0, 0}, HalfSize()), m_dragCursor(DragCursor()),
      m_description(Text(kIdAreaDescription)), m_hint(ToolTip(kIdAreaPicture)) {
    Describe(*this, kIdAreaPicture);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void AreaFrame::SetPattern(KyfAreaNo areaNo) {
    m_picture.SetPattern(areaNo);
    if (m_chosen >= AreaCount(areaNo)) m_chosen = AreaCount(areaNo) - 1;
    Choose(m_chosen);
}

QSize AreaFrame::sizeHint() const { return SizeInLines(*this, kHintLines); }

QSize AreaFrame::minimumSizeHint() const {
    const int squares = 5 * std::clamp(HalfSize(), 0, 1000); // all of them side by side, and some room
    return SizeInLines(*this, kLeastLines).expandedTo(QSize(squares, squares));
}

void AreaFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    for (int i = 0; i < AreaCount(Get().AreaNo); ++i) {
        const QRect square = Drawable(m_picture.Square(i), rect());
        if (square.isEmpty()) continue;
        painter.setPen(QPen(Qt::red, kPenWidth, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        painter.drawRect(square.adjusted(1, 1, -1, -1)); // the line covers the square's outermost pixels
        const QRect inner = square.adjusted(4, 4, -5, -5);
        if (i != m_chosen || !hasFocus() || !inner.isValid()) continue;
        painter.setPen(QPen(Qt::black, 1, Qt::DotLine));
        painter.drawRect(inner);
    }
}

void AreaFrame::resizeEvent(QResizeEvent*) { m_picture.SetFrame(FrameOf(*this)); }

void AreaFrame::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    Choose(-1);
    const QPoint place = event->position().toPoint();
    if (m_picture.ButtonDown(place.x(), place.y())) ShowCursor(true);
}

void AreaFrame::mouseMoveEvent(QMouseEvent* event) {
    const QPoint place = event->position().toPoint();
    const AreaPicture::Moved moved = m_picture.MouseMove(place.x(), place.y());
    ShowCursor(moved.Cursor);
    if (moved.Repaint) update();
}

void AreaFrame::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) m_picture.ButtonUp();
}

void AreaFrame::keyPressEvent(QKeyEvent* event) {
    bool moved = false;
    switch (event->key()) {
    case Qt::Key_Left: moved = m_picture.StepX(m_chosen, -1); break;
    case Qt::Key_Right: moved = m_picture.StepX(m_chosen, 1); break;
    case Qt::Key_Up: moved = m_picture.StepY(m_chosen, -1); break;
    case Qt::Key_Down: moved = m_picture.StepY(m_chosen, 1); break;
    default: QWidget::keyPressEvent(event); return;
    }
    if (m_chosen < 0) Choose(0); // the first key after a click only chooses
    if (moved) Choose(m_chosen);
}

void AreaFrame::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::ShortcutFocusReason) Choose(0);
    if (event->reason() == Qt::BacktabFocusReason) Choose(AreaCount(Get().AreaNo) - 1);
}

void AreaFrame::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    m_picture.ButtonUp();
    update();
}

bool AreaFrame::focusNextPrevChild(bool next) {
    const int chosen = next ? m_chosen + 1 : m_chosen - 1;
    if (m_chosen < 0 || chosen < 0 || chosen >= AreaCount(Get().AreaNo)) return QWidget::focusNextPrevChild(next);
    Choose(chosen);
    return true;
}

void AreaFrame::ShowCursor(bool drag) {
    if (drag) {
        setCursor(m_dragCursor);
    } else {
        unsetCursor();
    }
}

void AreaFrame::Choose(int index) {
    m_chosen = index < AreaCount(Get().AreaNo) ? index : -1;
    QString description = m_hint;
    if (m_chosen >= 0) {
        const KyPoint& place = Get().AreaPos[static_cast<std::size_t>(m_chosen)];
        description = m_description.arg(m_chosen + 1).arg(AreaCount(Get().AreaNo)).arg(place.x).arg(place.y);
    }
    setAccessibleDescription(description);
    update();
}

} // namespace kyfui
