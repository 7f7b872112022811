#include "ui/content_view.h"

#include "ui/button.h"
#include "ui/focus_keeper.h"
#include "ui/footer_bar.h"
#include "ui/header_bar.h"
#include "ui/icons.h"
#include "ui/inspector_panel.h"
#include "ui/queue_panel.h"
#include "ui/queue_view.h"
#include "ui/shortcuts.h"
#include "ui/theme.h"
#include "updates/update_manager.h"

#include <QAction>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QtMath>

#include <utility>

namespace ovrel {

namespace {

constexpr QSize smallest(930, 690);
constexpr QSize usual(1080, 780);
constexpr int alertIcon = 40;
constexpr int alertTextWidth = 320; ///< at least
constexpr QMargins alertMargins(24, 24, 24, 24);

/// Where there is little room, everything comes closer together.
struct Measures {
    int margin;
    int gap;
    int vertical; ///< margin above and below the list
    int header;
    int inspector; ///< width
};

Measures measuresIn(QSize window) {
    if (window.width() >= 1400) {
        return {24, 20, 24, 68, 360};
    }
    if (window.width() >= 1000) {
        return {20, 16, 20, 68, 328};
    }
    return {16, 12, 12, 60, 308};
}

constexpr int tallHeight = 740;

} // namespace

ContentView::ContentView(Services services, QWidget* parent)
    : QWidget(parent)
    , model_(services.model)
    , qtTexts_(model_)
    , banner_(services.fetch)
    , updater_(*services.model.updateManager)
    , grid_(new QGridLayout(this))
    , header_(new HeaderBar(model_, this))
    , queue_(new QueuePanel(model_, this))
    , inspector_(new InspectorPanel(model_, this))
    , footer_(new FooterBar(model_, banner_, std::move(services.openLink), this))
    , focus_(new FocusKeeper(*this)) {
    grid_->setContentsMargins(0, 0, 0, 0);
    grid_->setSpacing(0);
    grid_->addWidget(header_, 0, 0, 1, 5);
    grid_->addWidget(queue_, 2, 1);
    grid_->addWidget(inspector_, 2, 3);
    grid_->addWidget(footer_, 4, 0, 1, 5);
    grid_->setRowStretch(2, 1);
    grid_->setColumnStretch(1, 1);

    makeActions();
    arrange();
    // When all have taken on what has changed.
    connect(&model_, &Model::canEditQueueChanged, this, &ContentView::keepFocus, Qt::QueuedConnection);
    connect(&model_, &Model::errorChanged, this, &ContentView::takeError);
    connect(&model_, &Model::languageChanged, this, &ContentView::takeAlertTexts);
    connect(&model_, &Model::languageChanged, this, [this] {
        if (shown_) {
            loadBanner();
        }
    });
}

ContentView::~ContentView() {
    bannerLoad_.request_stop();
    // They look at the model as long as they live.
    delete footer_;
    delete inspector_;
    delete queue_;
    delete header_;
}

void ContentView::setMenu(QMenu* menu) {
    header_->setMenu(menu);
}

QSize ContentView::minimumSizeHint() const {
    return smallest.expandedTo(grid_->minimumSize());
}

QSize ContentView::sizeHint() const {
    return usual;
}

void ContentView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!shown_) {
        shown_ = true;
        queue_->takeFocus();
        updater_.launch();
        loadBanner();
    }
}

void ContentView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

void ContentView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange) {
        arrange();
        takeAlertTexts(); // its sign has the colour of the theme
    }
    QWidget::changeEvent(event);
}

void ContentView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), colors().window);
}

void ContentView::makeActions() {
    const auto action = [this](const QString& keys, auto&& what) {
        auto* made = new QAction(this);
        made->setShortcut(keys);
        connect(made, &QAction::triggered, this, what);
        addAction(made);
    };
    addActions({&queue_->addFiles(), &queue_->addFolder(), &queue_->selectAll(), &queue_->removeSelected()});
    action(shortcuts::convert, [this] {
        if (model_.canStart()) {
            model_.start();
        }
    });
    action(shortcuts::stop, [this] {
        if (model_.busy()) {
            model_.setCancelled(true);
        } else {
            model_.setSelection({});
        }
    });
}

void ContentView::arrange() {
    const bool compact = width() < qFloor(smallest.width() * textScale());
    // Large text makes a large window as crowded as the smallest one.
    const Measures of = measuresIn(compact ? QSize(smallest.width(), height()) : size());
    header_->setMetrics(of.header, of.margin, compact);
    queue_->setCompact(compact);
    footer_->setMetrics(width(), of.margin, compact);
    // The column of settings has a margin of its own.
    grid_->setColumnMinimumWidth(0, of.margin);
    grid_->setColumnMinimumWidth(2, of.gap - InspectorPanel::margin);
    grid_->setColumnMinimumWidth(4, of.margin - InspectorPanel::margin);
    grid_->setRowMinimumHeight(1, of.vertical);
    grid_->setRowMinimumHeight(3, of.vertical);
    inspector_->setMetrics(of.inspector + 2 * InspectorPanel::margin, height() < tallHeight);
}

void ContentView::loadBanner() {
    bannerLoad_.request_stop();
    bannerLoad_ = {};
    banner_.load(model_.language(), bannerLoad_.get_token());
}

// Work disables what the user has begun it with, and the keyboard must neither be lost nor wander off by that.
void ContentView::keepFocus() {
    const bool lost = window()->focusWidget() == nullptr;
    if (!model_.canEditQueue()) {
        if (lost && model_.busy()) {
            footer_->stop().setFocus();
        }
        return;
    }
    QWidget* const displaced = focus_->take();
    if (displaced != nullptr && displaced->isVisible() && displaced->isEnabled()) {
        displaced->setFocus();
    } else if (displaced == &footer_->stop()) {
        footer_->convert().setFocus();
    } else if (lost || queue_->isAncestorOf(displaced)) {
        queue_->takeFocus();
    }
}

void ContentView::takeError() {
    if (!model_.error()) {
        if (alert_ != nullptr) {
            alert_->close();
        }
        return;
    }
    if (alert_ == nullptr) {
        alert_ = new QMessageBox(QMessageBox::NoIcon, QString(), QString(), QMessageBox::NoButton, this);
        // One of Qt's own buttons would take on the text of Qt's translation.
        alert_->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
        alert_->setAttribute(Qt::WA_DeleteOnClose);
        alert_->setTextFormat(Qt::PlainText);
        connect(alert_, &QDialog::finished, this, [this] {
            alert_ = nullptr; // it goes later, and another error needs another one
            model_.setError(nullptr);
        });
    }
    takeAlertTexts();
    alert_->open();
}

void ContentView::takeAlertTexts() {
    if (alert_ == nullptr || !model_.error()) {
        return;
    }
    const QString title = model_.t(QStringLiteral("Не удалось выполнить действие"));
    alert_->setIconPixmap(
        themePixmap(Icon::exclamationCircle, besideText(alertIcon), colors().danger, devicePixelRatioF()));
    alert_->setWindowTitle(title);
    alert_->setText(title);
    alert_->setInformativeText(model_.language().describe(model_.error()));
    // A file may be called like a piece of HTML; the box itself has no say in the format of this second text.
    for (QLabel* const label : alert_->findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
        if (label->text() == title) {
            label->setFont(fontOf(TextStyle::section));
        } else if (!label->text().isEmpty()) {
            label->setMinimumWidth(alertTextWidth);
        }
    }
    alert_->layout()->setContentsMargins(alertMargins);
}

} // namespace ovrel
