#include "remote/banner_view.h"

#include "widgets/return_key.h"

#include <QAbstractButton>
#include <QHelpEvent>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace ovrel {

namespace {

constexpr int aspectRatio = 6;
constexpr int gap = 3;
constexpr double radius = 8.0;
constexpr int leastWidth = 60;

static_assert(BannerImage::displayWidth == aspectRatio * BannerImage::displayHeight);

QImage imageOf(const Image& pixels) {
    const QImage shared(pixels.row(0), static_cast<int>(pixels.width), static_cast<int>(pixels.height),
                        static_cast<qsizetype>(pixels.bytesPerRow()), QImage::Format_RGBA8888);
    return shared.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

/// The picture of a banner. A click or the keyboard opens its link.
class BannerButton final : public PressedByReturn<QAbstractButton> {
public:
    BannerButton(const BannerModel::Creative& creative, QWidget* parent)
        : PressedByReturn(parent), image_(imageOf(*creative.image.pixels)) {
        const QString link = QString::fromLatin1(creative.link.toEncoded());
        setAccessibleName(creative.alt);
        setAccessibleDescription(link);
        setToolTip(creative.alt + u'\n' + link);
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::TabFocus);
        setContextMenuPolicy(Qt::PreventContextMenu);
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::ToolTip) {
            return QAbstractButton::event(event);
        }
        // What comes from the network is text, whatever it looks like.
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                           Qt::convertFromPlainText(toolTip(), Qt::WhiteSpaceNormal), this);
        return true;
    }

    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.drawImage(rect(), scaledFor(painter.deviceTransform().m11()));
    }

private:
    /// The image in device pixels, with round corners.
    const QImage& scaledFor(double devicePixelRatio) {
        const QSize pixels = (QSizeF(size()) * devicePixelRatio).toSize();
        if (scaled_.size() == pixels) {
            return scaled_;
        }
        scaled_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        scaled_.fill(Qt::transparent);
        QPainter painter(&scaled_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawRoundedRect(scaled_.rect(), radius * devicePixelRatio, radius * devicePixelRatio);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.drawImage(0, 0, image_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        return scaled_;
    }

    QImage image_;
    QImage scaled_; ///< for the size and screen on which it was drawn last
};

} // namespace

BannerLabel::BannerLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setForegroundRole(QPalette::PlaceholderText);
    setAlignment(Qt::AlignCenter);
}

BannerView::BannerView(const BannerModel::Creative& creative, AppLanguage language, LinkOpener openLink,
                       QWidget* parent)
    : QWidget(parent), picture_(new BannerButton(creative, this)), note_(new BannerLabel(this)) {
    note_->setText(language.choose(QStringLiteral("Реклама"), QStringLiteral("Ad")));
    note_->setToolTip(
        language.choose(QStringLiteral("Баннер выбирается только по языку приложения. Файлы не отправляются на "
                                       "сервер."),
                        QStringLiteral("The banner is selected only by the app language. Your files are never "
                                       "uploaded.")));
    setFocusProxy(picture_);
    connect(picture_, &QAbstractButton::clicked, this,
            [link = creative.link, openLink = std::move(openLink)] { openLink(link); });
}

int BannerView::heightForWidth(int width) const {
    return width / aspectRatio + gap + note_->sizeHint().height();
}

QSize BannerView::sizeHint() const {
    const int width = std::min(BannerImage::displayWidth, maximumWidth());
    return {width, heightForWidth(width)};
}

QSize BannerView::minimumSizeHint() const {
    const int width = std::max(leastWidth, minimumWidth());
    return {width, heightForWidth(width)};
}

bool BannerView::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest) {
        arrange(); // the note's font has changed
        updateGeometry();
    }
    return QWidget::event(event);
}

void BannerView::resizeEvent(QResizeEvent* /*event*/) {
    arrange();
}

void BannerView::arrange() {
    const QSize note = note_->sizeHint();
    const int room = std::max(0, height() - gap - note.height());
    const int pictureWidth = std::min(width(), room * aspectRatio);
    const QSize picture(pictureWidth, pictureWidth / aspectRatio);
    const int top = (height() - picture.height() - gap - note.height()) / 2;
    picture_->setGeometry(QRect(QPoint((width() - picture.width()) / 2, top), picture));
    note_->setGeometry(QRect(QPoint((width() - note.width()) / 2, top + picture.height() + gap), note));
}

} // namespace ovrel
