/// \file segments.h
/// A choice of few, all of which are seen.
#pragma once

#include <QRadioButton>
#include <QStringList>
#include <QWidget>

#include <vector>

class QButtonGroup;

namespace ovrel {

/// Buttons side by side of which one is chosen, as radio buttons are. Main thread.
class Segments final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Segments)

public:
    /// \param count of segments, at least 2
    /// \param equal all as wide as the widest, and together as wide as there is room
    Segments(int count, bool equal, int designedHeight, QWidget* parent = nullptr);
    ~Segments() override = default;

    /// \param texts one for each segment
    void setTexts(const QStringList& texts);
    /// The segment chosen, from 0.
    int index() const;
    /// Does not emit chosen().
    void setIndex(int index);

    QRadioButton& segment(int index) { return *segments_.at(static_cast<std::size_t>(index)); }

Q_SIGNALS:
    /// The user has chosen another segment.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void takeChoice();

    QButtonGroup* group_;
    std::vector<QRadioButton*> segments_; ///< children
};

} // namespace ovrel
