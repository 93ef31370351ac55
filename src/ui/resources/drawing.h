/// Vector drawings as icons and cursors.
#ifndef KYFOCUS_UI_DRAWING_H
#define KYFOCUS_UI_DRAWING_H

#include <QByteArray>
#include <QIcon>
#include <QPixmap>
#include <QSize>

namespace kyfui {

/// An icon that is drawn anew at every size. "currentColor" in the drawing is the application's colour for text on
/// buttons at the time of drawing. Null icon when the bytes are no drawing.
QIcon DrawingIcon(const QByteArray& svg);

/// A drawing on a transparent ground, in units of `scale` device pixels. Null when the bytes are no drawing.
QPixmap DrawingPixmap(const QByteArray& svg, const QSize& size, qreal scale);

} // namespace kyfui

#endif
