#include "ui/resources/drawing.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

namespace kyfui {

namespace {

constexpr qreal kDisabledOpacity = 0.4;

QByteArray InTextColour(QByteArray svg) {
    const QColor colour = QGuiApplication::palette().color(QPalette::ButtonText);
    return svg.replace("currentColor", colour.name().toLatin1());
}

/// The largest place of the drawing's shape in the middle of an area.
QRectF Fit(const QSizeF& drawing, const QRectF& area) {
    const QSizeF size = drawing.scaled(area.size(), Qt::KeepAspectRatio);
    return {area.center() - QPointF(size.width() / 2, size.height() / 2), size};
}

class DrawingEngine final : public QIconEngine {
  public:
    explicit DrawingEngine(const QByteArray& svg) : m_svg(svg) {}

    void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State) override {
        QSvgRenderer renderer(InTextColour(m_svg));
        painter->save();
        if (mode == QIcon::Disabled) painter->setOpacity(painter->opacity() * kDisabledOpacity);
        renderer.render(painter, Fit(renderer.defaultSize(), area));
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, {QPoint(), size}, mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new DrawingEngine(m_svg); }

  private:
    QByteArray m_svg;
};

} // namespace

QIcon DrawingIcon(const QByteArray& svg) {
    return QSvgRenderer(InTextColour(svg)).isValid() ? QIcon(new DrawingEngine(svg)) : QIcon();
}

QPixmap DrawingPixmap(const QByteArray& svg, const QSize& size, qreal scale) {
    QSvgRenderer renderer(svg);
    if (!renderer.isValid()) return {};
    QPixmap pixmap(size * scale);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(scale);
    QPainter painter(&pixmap);
    renderer.render(&painter, {QPointF(), QSizeF(size)});
    return pixmap;
}

} // namespace kyfui
