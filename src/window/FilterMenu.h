#pragma once

#include <QComboBox>

namespace pelorinnews {

/// A pop-up menu whose choice takes effect at once. Screen readers speak its entry when it gets the
/// focus and whenever the user chooses another.
class FilterMenu final : public QComboBox {
    Q_OBJECT

public:
    explicit FilterMenu(QWidget *parent = nullptr);

private:
    void tellText();

    /// The entry that accessibility clients were told last.
    QString _told;
};

}  // namespace pelorinnews
