#include "ui/queue_panel.h"

#include "model/model.h"
#include "ui/button.h"
#include "ui/decoration.h"
#include "ui/drop_zone.h"
#include "ui/dropped_files.h"
#include "ui/queue_view.h"
#include "ui/shortcuts.h"
#include "ui/text_label.h"
#include "ui/tool_tip.h"

#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace ovrel {

namespace {

constexpr int headHeight = 52;
constexpr int selectionHeight = 54;
constexpr int dropInset = 12;
constexpr int listDropInset = 4; ///< so that it stays off the texts and buttons that stand there
constexpr int dropRadius = 10;

void drawDropOutline(QPainter& painter, const QRect& panel, int inset, bool dragged) {
    QPen pen(dragged ? colors().accent : colors().controlBorder, dragged ? 2 : 1.25);
    pen.setDashPattern({6 / pen.widthF(), 5 / pen.widthF()});
    pen.setCapStyle(Qt::FlatCap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const double middle = inset + pen.widthF() / 2;
    painter.drawRoundedRect(QRectF(panel).adjusted(middle, middle, -middle, -middle), dropRadius, dropRadius);
}

} // namespace

/// Lies over the list and everything else that would interrupt the dashes.
class QueuePanel::DropOutline final : public QWidget {
public:
    explicit DropOutline(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        drawDropOutline(painter, rect(), listDropInset, true);
    }
};

QueuePanel::QueuePanel(Model& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , pages_(new QStackedWidget(this))
    , dropZone_(new DropZone(model, this))
    , outline_(new DropOutline(this)) {
    setAcceptDrops(true);
    addFiles_ = new QAction(this);
    addFolder_ = new QAction(this);
    selectAll_ = new QAction(this);
    removeSelected_ = new QAction(this);
    addFiles_->setShortcut(shortcuts::addFiles);
    addFolder_->setShortcut(shortcuts::addFolder);
    selectAll_->setShortcut(shortcuts::selectAll);
    removeSelected_->setShortcut(shortcuts::remove);
    addFiles_->setIcon(themeIcon(Icon::photoStack));
    addFolder_->setIcon(themeIcon(Icon::folderPlus));

    pages_->addWidget(dropZone_);
    pages_->addWidget(listPage());
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(1, 1, 1, 1);
    column->addWidget(pages_);

    connect(addFiles_, &QAction::triggered, &model_, &Model::chooseFiles);
    connect(addFolder_, &QAction::triggered, &model_, &Model::chooseFolder);
    connect(selectAll_, &QAction::triggered, list_, &QAbstractItemView::selectAll);
    connect(clear_, &Button::clicked, &model_, &Model::clearQueue);
    connect(remove_, &Button::clicked, removeSelected_, &QAction::trigger);
    connect(removeSelected_, &QAction::triggered, &model_, &Model::removeSelected);
    connect(&model_, &Model::languageChanged, this, &QueuePanel::takeTexts);
    connect(&model_, &Model::itemsChanged, this, &QueuePanel::takeItems);
    connect(&model_, &Model::selectionChanged, this, &QueuePanel::takeSelection);
    connect(&model_, &Model::canEditQueueChanged, this, &QueuePanel::takeState);
    connect(&model_, &Model::targetedChanged, this, &QueuePanel::fadeDrag);
    drag_.setDuration(motion::drag);
    connect(&drag_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        dragShare_ = value.toDouble();
        update();
    });
    // The list is reached after what stands above it.
    setTabOrder(add_, list_);
    takeTexts();
    takeItems();
    takeState();
}

void QueuePanel::setCompact(bool compact) {
    hint_->setVisible(!compact);
}

void QueuePanel::takeFocus() {
    if (model_.items().isEmpty()) {
        dropZone_->chooseFiles().setFocus();
    } else {
        list_->setFocus();
    }
}

QWidget* QueuePanel::listPage() {
    auto* page = new QWidget(this);
    list_ = new QueueView(model_, page);
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(head(page));
    column->addWidget(new Divider(page));
    column->addWidget(list_, 1);
    column->addWidget(new Divider(page));
    column->addWidget(selectionBar(page));
    return page;
}

QWidget* QueuePanel::head(QWidget* page) {
    auto* head = new QWidget(page);
    title_ = new TextLabel(TextStyle::section, TextColor::primary, head);
    count_ = new Pill(head);
    clear_ = new Button(ButtonKind::flat, metrics::smallButton, head);
    add_ = new Button(ButtonKind::tonal, metrics::smallButton, head);
    add_->setIcons(Icon::plus, Icon::chevronDown);
    addMenu_ = new QMenu(add_);
    addMenu_->addAction(addFiles_);
    addMenu_->addAction(addFolder_);
    add_->setMenu(addMenu_);

    head->setMinimumHeight(headHeight - 1);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(16, 8, 12, 8);
    row->setSpacing(8);
    row->addWidget(title_);
    row->addWidget(count_);
    row->addStretch();
    row->addWidget(clear_);
    row->addWidget(add_);
    return head;
}

QWidget* QueuePanel::selectionBar(QWidget* page) {
    auto* bar = new QWidget(page);
    selected_ = new ElidedLabel(TextStyle::caption, TextColor::primary, bar);
    hint_ = new ElidedLabel(TextStyle::caption, TextColor::secondary, bar);
    remove_ = new Button(ButtonKind::removal, metrics::button, bar);
    remove_->setIcons(Icon::trash);

    auto* lines = new QVBoxLayout;
    lines->setSpacing(1);
    lines->addStretch();
    lines->addWidget(selected_);
    lines->addWidget(hint_);
    lines->addStretch();

    bar->setMinimumHeight(selectionHeight - 1);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(16, 6, 8, 6);
    row->setSpacing(12);
    row->addLayout(lines, 1);
    row->addWidget(remove_);
    return bar;
}

void QueuePanel::dragEnterEvent(QDragEnterEvent* event) {
    if (model_.canEditQueue() && holdsFiles(*event->mimeData())) {
        model_.setTargeted(true);
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void QueuePanel::dragMoveEvent(QDragMoveEvent* event) {
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(model_.canEditQueue());
    model_.setTargeted(event->isAccepted());
}

void QueuePanel::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    model_.setTargeted(false);
}

void QueuePanel::dropEvent(QDropEvent* event) {
    model_.setTargeted(false);
    const Model::Paths dropped = filesOf(*event->mimeData());
    if (!model_.canEditQueue() || dropped.empty()) {
        event->ignore();
        return;
    }
    // What is dropped stays where it is, whatever its owner offers.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    model_.add(dropped);
}

void QueuePanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Colors& of = colors();
    drawRounded(painter, rect(), metrics::cardRadius, mixed(of.surface, of.accentTint, dragShare_),
                mixed(of.border, of.accentTint, dragShare_));

    if (pages_->currentWidget() == dropZone_ && !model_.scanning()) {
        drawDropOutline(painter, rect(), dropInset, model_.targeted());
    }
}

void QueuePanel::resizeEvent(QResizeEvent* /*event*/) {
    outline_->setGeometry(rect());
}

void QueuePanel::takeTexts() {
    title_->setText(model_.t(QStringLiteral("Изображения")));
    add_->setText(model_.t(QStringLiteral("Добавить")));
    addFiles_->setText(model_.t(QStringLiteral("Добавить файлы…")));
    addFolder_->setText(model_.t(QStringLiteral("Добавить папку…")));
    clear_->setText(model_.t(QStringLiteral("Очистить список")));
    hint_->setText(model_.t(QStringLiteral("Выделить несколько: ⌘ или ⇧ + клик")));
    remove_->setText(model_.t(QStringLiteral("Удалить выбранные")));
    remove_->setToolTip(toolTipWithKeys(remove_->text(), shortcuts::remove));
    list_->setAccessibleName(title_->text());
    takeSelection();
}

void QueuePanel::takeItems() {
    const bool filled = !model_.items().isEmpty();
    const bool focused = isAncestorOf(window()->focusWidget());
    count_->setText(QString::number(model_.items().size()));
    pages_->setCurrentIndex(filled ? 1 : 0);
    if (focused) {
        takeFocus();
    }
    update();
}

void QueuePanel::takeSelection() {
    const std::size_t count = model_.selection().size();
    selected_->setText(model_.language().choose(QStringLiteral("Выбрано файлов: "), QStringLiteral("Selected: ")) +
                       QString::number(count));
    selected_->setTextStyle(count > 0 ? TextStyle::figure : TextStyle::caption);
    selected_->setTextColor(count > 0 ? TextColor::primary : TextColor::secondary);
    removeSelected_->setEnabled(count > 0 && model_.canEditQueue());
    remove_->setEnabled(removeSelected_->isEnabled());
}

void QueuePanel::takeState() {
    const bool editable = model_.canEditQueue();
    clear_->setEnabled(editable);
    add_->setEnabled(editable);
    addFiles_->setEnabled(editable);
    addFolder_->setEnabled(editable);
    if (!editable) {
        model_.setTargeted(false); // nothing can be dropped any more
    }
    takeSelection();
    update();
}

void QueuePanel::fadeDrag() {
    const double target = model_.targeted() ? 1 : 0;
    drag_.stop();
    if (!theme().animations || !isVisible()) {
        dragShare_ = target;
    } else {
        drag_.setStartValue(dragShare_);
        drag_.setEndValue(target);
        drag_.start();
    }
    outline_->setVisible(model_.targeted() && pages_->currentWidget() != dropZone_);
    outline_->raise();
    update();
}

} // namespace ovrel
