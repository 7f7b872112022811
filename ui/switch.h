/// \file switch.h
/// A setting that is on or off.
#pragma once

#include <QCheckBox>
#include <QVariantAnimation>

namespace ovrel {

/// Its name, and a switch at the other end of the row; the whole row can be clicked. Main thread.
class Switch final : public QCheckBox {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Switch)

public:
    explicit Switch(QWidget* parent = nullptr);
    ~Switch() override = default;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    /// Where the switch itself is.
    QRect track() const;

protected:
    bool hitButton(const QPoint& where) const override { return rect().contains(where); }
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void moveKnob(bool on);

    QVariantAnimation knob_; ///< 0 … 1: from off to on
};

} // namespace ovrel
