/// The picture with the squares of the template areas.
#ifndef KYFOCUS_UI_DIALOGS_AREA_FRAME_H
#define KYFOCUS_UI_DIALOGS_AREA_FRAME_H

#include <QWidget>

#include "ui/rules/area_rules.h"

namespace kyfui {

/// White, with red squares, in light palettes and dark. Squares are dragged by the mouse; by keyboard, Tab goes from
/// one to the next and the arrow keys move it by one percent.
class AreaFrame : public QWidget {
    Q_OBJECT
  public:
    AreaFrame(const Areas& areas, QWidget* parent);

    const Areas& Get() const { return m_picture.Get(); }
    void SetPattern(KyfAreaNo areaNo);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;

  private:
    void ShowCursor(bool drag);
    /// Takes a square for the keyboard; -1 for none.
    void Choose(int index);

    AreaPicture m_picture;
    QCursor m_dragCursor;
    QString m_description; ///< of a square, with places for its numbers
    QString m_hint;
    int m_chosen = -1;
};

} // namespace kyfui

#endif
