/// \file progress_bar.h
/// How far a run is.
#pragma once

#include <QProgressBar>
#include <QVariantAnimation>

namespace ovrel {

/// Goes to a new value gently. Main thread.
class ProgressBar final : public QProgressBar {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProgressBar)

public:
    explicit ProgressBar(QWidget* parent = nullptr);
    ~ProgressBar() override = default;

    /// \param total at least 0; nothing is done of nothing
    void setCounters(qint64 done, qint64 total);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVariantAnimation shown_; ///< 0 … 1
    double share_ = 0.0;      ///< 0 … 1, where it goes
};

} // namespace ovrel
