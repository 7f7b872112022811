/// \file paragraph.h
/// Text of several lines that is never cut.
#pragma once

#include <QLabel>
#include <QString>

#include <cstdint>
#include <limits>

class QTextLayout;

namespace ovrel {

/// Plain text in the font and colour of the widget, as high as its lines are at the width that it is given. A word that
/// is wider than that goes on in the next line. Main thread.
class Paragraph : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Paragraph)

public:
    /// What a screen reader takes it for.
    enum class Role : std::uint8_t { text, heading };

    explicit Paragraph(Role role = Role::text, QWidget* parent = nullptr);
    ~Paragraph() override = default;

    Role role() const { return role_; }

    /// Distance of the lines, in heights of the font; 1 at first.
    void setLineHeight(double lineHeight);

    int heightForWidth(int width) const override;

    /// \param width of the widget, in pixels
    /// \param greatest height that the widget may have, in pixels
    /// \return the height, in pixels, that shows the first lines that have room there, each of them whole
    int heightOfWholeLines(int width, int greatest) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Breaks the text into lines of this width and puts them one below the other, as long as they have room.
    /// \return the height of the lines, in pixels
    double layOut(QTextLayout& layout, double width, double room = std::numeric_limits<double>::infinity()) const;

    int heightWithin(int width, double room) const;

    Role role_;
    double lineHeight_ = 1.0;
};

} // namespace ovrel
