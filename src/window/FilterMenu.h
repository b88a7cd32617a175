#pragma once

#include <QComboBox>

namespace pelorinnews {

/// A pop-up menu; a choice takes effect at once. Screen readers speak the current entry when the
/// menu gets the focus and whenever the user chooses another entry.
class FilterMenu final : public QComboBox {
    Q_OBJECT

public:
    explicit FilterMenu(QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return wideEnough(QComboBox::sizeHint()); }
    [[nodiscard]] QSize minimumSizeHint() const override {
        return wideEnough(QComboBox::minimumSizeHint());
    }

protected:
    void changeEvent(QEvent *event) override;

private:
    void tellText();
    [[nodiscard]] QSize wideEnough(QSize size) const;

    /// The entry last announced to accessibility clients.
    QString _told;
};

}  // namespace pelorinnews
