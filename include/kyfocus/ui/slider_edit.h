/// Edit field of a slider and edit pair. C++20, Qt 6 Widgets.
///
/// Moving the slider rewrites the text, typing moves the slider. What cannot be part of a value is refused when it is
/// typed, pasted, dropped or comes from an input method; a value out of range is put back at its limit; what is no
/// number is rewritten when the field loses the focus. Numbers are written with a full stop in every locale.
///
///     auto* edit = new CKyfSliderEdit(window);
///     auto* slider = new CKyfLinkSlider(Qt::Horizontal, window);
///     edit->SetSlideLink(slider);
///     edit->SetParams(0, 20, 5);
///     edit->SetPer(1);
///     edit->SetValue(8);
///
/// Everything belongs to the window's thread. Results are 1 or 0.
#ifndef KYFOCUS_UI_SLIDER_EDIT_H
#define KYFOCUS_UI_SLIDER_EDIT_H

#include <cstdint>
#include <memory>

#include <QLineEdit>

#include <kyfocus/types.h>

class CKyfLinkSlider;
namespace kyfui {
class SliderEditBody;
}

class KYF_API CKyfSliderEdit : public QLineEdit {
    Q_OBJECT

  public:
    explicit CKyfSliderEdit(QWidget* parent = nullptr);
    ~CKyfSliderEdit() override;

    /// Takes the place of the line edit with number `id` in the window `parent` (control_id.h): its layout cell or
    /// geometry, number, name, texts, own font and colours, validator, input mask, tab position, focus and label; that
    /// line edit is deleted. A field that has this number itself stays where it is.
    /// @param parseType  As for SetParseType.
    /// @return 0 when there is no such line edit.
    KyiBool SubclassEdit(int id, QWidget* parent, std::uint16_t parseType);

    /// Characters that the field accepts, as bits: 0x01 digits, 0x02 letters, 0x04 the characters of a real number in
    /// any notation, 0x08 other characters, 0x10 digits and the minus sign, 0x20 underscore. At first all of them.
    /// SetParams sets it anew.
    void SetParseType(std::uint16_t parseType);

    /// Links to the CKyfLinkSlider with number `sliderId` in the window `dialog`, in both directions.
    /// @return 0, with the link as it was, when there is no such slider.
    KyiBool SetSlideLink(QWidget* dialog, int sliderId);
    /// The same with the slider at hand; null unlinks. Field and slider may be destroyed in any order.
    void SetSlideLink(CKyfLinkSlider* slider);

    /// printf format of SetValue, and in real mode of every value that the slider shows. Its first conversion to a
    /// number takes the value; text around it is shown as it stands, up to 511 characters in all. Copied; null stands
    /// for the shortest form.
    void SetFormatString(const wchar_t* text);

    /// Distance between two stops of the horizontal slider that is linked, in positions. A slider that is linked later
    /// does not learn of it.
    void SetPer(int per);

    /// Integer mode: values `min` to `max`, shown as "%d".
    /// @param ticks  Number of tick intervals of the slider; with 0 there are none.
    KyiBool SetParams(int min, int max, int ticks);
    /// Real mode with any value from `min` to `max`. The slider has a position for every step of the last of `decimals`
    /// places, but at most 1001.
    KyiBool SetParams(double min, double max, int ticks, const wchar_t* format, int decimals);
    /// Real mode with a list of values in rising order, one for each position of the slider. Typed values between two
    /// entries stay as they are, with the slider at the nearer one. The list is copied.
    /// @return 0, and nothing changes, when `count` is below 1.
    KyiBool SetParams(double min, double max, const double* table, std::int64_t count, int ticks,
                      const wchar_t* format);
    /// Gives range and ticks to the slider once more. 0 when there is none.
    KyiBool InitSlider();

    /// Shows a value. 0, and nothing changes, when it is outside the range, or the mode is the other one.
    KyiBool SetValue(int value);
    KyiBool SetValue(double value);
    /// 1 and the value when the whole text is a number; else 0, and the argument stays.
    KyiBool GetValue(int& value) const;
    KyiBool GetValue(double& value) const;

    /// Shows the value of a slider position; 0 when it was the last one shown.
    KyiBool UpdateEdit(int position);

    /// Input was refused or limited. Beeps, and no more.
    virtual void OnBadInput();

  public Q_SLOTS:
    /// Inserts what the clipboard holds, without blanks around it, if the field accepts all of it.
    void paste();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    friend class CKyfLinkSlider;
    bool Accepts(const QString& text) const;
    void InsertIfAccepted(const QString& text);

    std::unique_ptr<kyfui::SliderEditBody> m_body;
};

#endif
