#include "model/queue_list_model.h"
#include "tests/ui/scenes.h"
#include "tests/ui/window_fixture.h"
#include "ui/button.h"
#include "ui/focus_ring.h"
#include "ui/folder_button.h"
#include "ui/quality_slider.h"
#include "ui/queue_delegate.h"
#include "ui/segments.h"
#include "ui/switch.h"

#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QEnterEvent>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdint>

namespace ovrel::test {

namespace {

constexpr int margin = 8; ///< around a control, for the ring of its focus
constexpr int captionRoom = 24;
constexpr int titleWidth = 130;
constexpr int rowWidth = 300;

/// A width that is larger beside larger text.
int withText(int designed) {
    return qRound(designed * std::max(1.0, textScale()));
}

enum class Look : std::uint8_t { usual, hovered, pressed, focused, disabled };

/// Does to a control what the pointer or the keyboard would.
void put(QWidget& control, Look look) {
    switch (look) {
    case Look::usual: return;
    case Look::hovered: {
        const QPointF middle = QRectF(control.rect()).center();
        QEnterEvent enter(middle, middle, control.mapToGlobal(middle));
        QCoreApplication::sendEvent(&control, &enter);
        QHoverEvent hover(QEvent::HoverEnter, middle, control.mapToGlobal(middle), QPointF(-1, -1));
        QCoreApplication::sendEvent(&control, &hover);
        return;
    }
    case Look::pressed: {
        auto* const button = qobject_cast<QAbstractButton*>(&control);
        Q_ASSERT(button != nullptr);
        button->setDown(true);
        return;
    }
    case Look::focused: {
        QObject nobody;
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Tab, {});
        QCoreApplication::sendEvent(&nobody, &press);
        auto* const segments = qobject_cast<Segments*>(&control);
        (segments != nullptr ? segments->segment(segments->index()) : control).setFocus(Qt::TabFocusReason);
        return;
    }
    case Look::disabled: control.setEnabled(false); return;
    }
}

using MakeControl = std::function<QWidget*(QWidget* parent)>;

QPixmap pictureOf(const MakeControl& make, Look look) {
    QWidget window;
    QWidget elsewhere(&window); // takes the focus that the first control would have from the beginning
    elsewhere.setFocusPolicy(Qt::StrongFocus);
    FocusRing ring(nullptr);
    auto* const layout = new QVBoxLayout(&window);
    layout->setContentsMargins(margin, margin, margin, margin);
    QWidget* const control = make(&window);
    layout->addWidget(control);
    QPalette ground = window.palette();
    ground.setColor(QPalette::Window, colors().surface);
    window.setPalette(ground);
    window.resize(window.sizeHint());
    window.move(QCursor::pos() + QPoint(1, 1)); // away from the pointer
    window.show();
    window.activateWindow();
    elsewhere.setFocus(Qt::OtherFocusReason);
    QCoreApplication::processEvents();
    put(*control, look);
    QCoreApplication::processEvents();
    return window.grab();
}

struct Cell {
    QString caption;
    QPixmap picture;
};

struct Row {
    QString title;
    std::vector<Cell> cells;
};

class Texts {
public:
    explicit Texts(AppLanguage language) : language_(language) {}

    QString operator()(const char* russian) const { return language_.text(QString::fromUtf8(russian)); }
    QString operator()(const char* russian, const char* english) const {
        return language_.choose(QString::fromUtf8(russian), QString::fromUtf8(english));
    }
    QString of(Look look) const {
        const Texts& t = *this;
        switch (look) {
        case Look::usual: return t("Обычный вид", "Default");
        case Look::hovered: return t("Под указателем", "Hover");
        case Look::pressed: return t("Нажата", "Pressed");
        case Look::focused: return t("Фокус", "Focus");
        case Look::disabled: return t("Недоступна", "Disabled");
        }
        return {};
    }

private:
    AppLanguage language_;
};

Row rowOf(const QString& title, const Texts& t, const MakeControl& make, std::initializer_list<Look> looks) {
    Row row{title, {}};
    for (const Look look : looks) {
        row.cells.push_back({t.of(look), pictureOf(make, look)});
    }
    return row;
}

MakeControl button(ButtonKind kind, const QString& text, int height, Icon leading, Icon trailing = Icon::none) {
    return [=](QWidget* parent) {
        auto* const made = new Button(kind, height, parent);
        made->setText(text);
        made->setIcons(leading, trailing);
        return made;
    };
}

std::vector<Row> controlRows(const Texts& t) {
    const auto slider = [](QWidget* parent) {
        auto* const made = new QualitySlider(parent);
        made->setValue(50);
        made->setFixedWidth(withText(150));
        return made;
    };
    const auto onOff = [](bool on) {
        return [on](QWidget* parent) {
            auto* const made = new Switch(parent);
            made->setChecked(on);
            made->setFixedWidth(withText(72));
            return made;
        };
    };
    const auto segments = [&t](int chosen) {
        return [&t, chosen](QWidget* parent) {
            auto* const made = new Segments(2, true, metrics::button, parent);
            made->setTexts({t("Компактный"), t("Системный")});
            made->setIndex(chosen);
            made->setFixedWidth(withText(210));
            return made;
        };
    };
    const auto menu = [&t](QWidget* parent) {
        auto* const made = new QComboBox(parent);
        made->addItem(t("Баланс"));
        made->setFixedWidth(withText(132));
        return made;
    };
    const auto folder = [&t](QWidget* parent) {
        auto* const made = new FolderButton(parent);
        made->setLines(t("Выбрать папку"), t("Для готовых изображений"));
        made->setFixedWidth(withText(280));
        return made;
    };
    using enum Look;
    std::vector<Row> rows{
        rowOf(
            t("Главная", "Primary"), t,
            button(ButtonKind::primary, t("Преобразовать в AVIF"), metrics::largeButton, Icon::none, Icon::arrowRight),
            {usual, hovered, pressed, focused, disabled}),
        rowOf(t("Обычная", "Secondary"), t,
              button(ButtonKind::secondary, t("Открыть папку результата"), metrics::largeButton, Icon::folder),
              {usual, hovered, pressed, focused, disabled}),
        rowOf(t("Тонированная", "Tonal"), t,
              button(ButtonKind::tonal, t("Добавить"), metrics::smallButton, Icon::plus, Icon::chevronDown),
              {usual, hovered, pressed, focused, disabled}),
        rowOf(t("Плоская", "Flat"), t,
              button(ButtonKind::removal, t("Удалить выбранные"), metrics::button, Icon::trash),
              {usual, hovered, pressed, focused, disabled}),
        rowOf(t("Остановка", "Stop"), t, button(ButtonKind::stop, t("Остановить"), metrics::largeButton, Icon::stop),
              {usual, hovered, pressed, focused, disabled}),
        rowOf(t("Ползунок", "Slider"), t, slider, {usual, hovered, focused, disabled}),
        rowOf(t("Переключатель", "Switch"), t, onOff(true), {usual, focused, disabled}),
        rowOf(t("Выбор", "Segments"), t, segments(0), {usual, disabled}),
        rowOf(t("Меню", "Menu"), t, menu, {usual, hovered, focused, disabled}),
        rowOf(t("Папка", "Folder"), t, folder, {usual, hovered, focused, disabled}),
    };
    rows[6].cells.insert(rows[6].cells.begin() + 1, {t("Выключен", "Off"), pictureOf(onOff(false), usual)});
    rows[7].cells.insert(rows[7].cells.begin() + 1, {t.of(focused), pictureOf(segments(1), focused)});
    return rows;
}

/// \param look usual, hovered or focused
QPixmap rowPicture(const QueueListModel& list, int row, Look look, bool selected, bool inActiveWindow = true) {
    QWidget window;
    FocusRing ring(nullptr);
    window.setFocusPolicy(Qt::StrongFocus);
    window.show();
    QWidget other;
    other.show();
    (inActiveWindow ? window : other).activateWindow();
    QCoreApplication::processEvents();
    if (look == Look::focused) {
        put(window, look);
    }

    QueueDelegate delegate;
    QStyleOptionViewItem option;
    option.widget = &window;
    option.rect = QRect(QPoint(), delegate.sizeHint(option, list.index(row)));
    option.rect.setWidth(withText(rowWidth));
    option.state.setFlag(QStyle::State_Enabled);
    option.state.setFlag(QStyle::State_MouseOver, look == Look::hovered);
    option.state.setFlag(QStyle::State_HasFocus, look == Look::focused);
    option.state.setFlag(QStyle::State_Selected, selected);
    option.direction = QGuiApplication::layoutDirection();
    const double scale = window.devicePixelRatioF();
    QPixmap picture(option.rect.size() * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(colors().surface);
    QPainter painter(&picture);
    delegate.paint(&painter, option, list.index(row));
    return picture;
}

std::vector<Row> listRows(AppLanguage language, const Texts& t) {
    WindowFixture fixture(language);
    fixture.prepare({"photo.jpg", "ring.gif", "cover.avif", "drawing.png", "poster.webp"});
    const QueueListModel list(fixture.model());
    using enum Look;
    Row waiting{t("Строки списка", "List rows"),
                {{t.of(usual), rowPicture(list, 0, usual, false)},
                 {t.of(hovered), rowPicture(list, 0, hovered, false)},
                 {t("Выбрана", "Selected"), rowPicture(list, 0, usual, true)}}};
    Row chosen{{},
               {{t("Выбрана, фокус", "Selected, keyboard focus"), rowPicture(list, 0, focused, true)},
                {t("Выбрана, окно неактивно", "Selected, window inactive"), rowPicture(list, 0, usual, true, false)}}};
    fixture.model().start();
    fixture.services.convert("photo.avif", false);
    fixture.awaitCompleted(1);
    chosen.cells.push_back({t("В работе", "Processing"), rowPicture(list, 1, usual, false)});
    fixture.services.convert("ring.avif", true);
    fixture.services.convert("cover.avif", false);
    fixture.services.conversions->fail(std::make_exception_ptr(
        ConversionError("Недостаточно свободного места на диске.", "There is not enough free disk space.")));
    fixture.services.convert("poster.avif", false);
    fixture.awaitIdle();
    Row done{{},
             {{t("Готова", "Done"), rowPicture(list, 1, usual, false)},
              {t("Ошибка", "Failed"), rowPicture(list, 3, usual, false)},
              {t("Ошибка, выбрана", "Failed, selected"), rowPicture(list, 3, usual, true)}}};
    return {waiting, chosen, done};
}

QSize sizeOf(const QPixmap& picture) {
    return picture.deviceIndependentSize().toSize();
}

QPixmap sheetOf(const std::vector<Row>& rows) {
    constexpr int gap = 16;
    const int firstColumn = withText(titleWidth);
    const int captionHeight = withText(captionRoom);
    QSize size(0, gap);
    for (const Row& row : rows) {
        int width = firstColumn;
        int height = 0;
        for (const Cell& cell : row.cells) {
            width += sizeOf(cell.picture).width() + gap;
            height = std::max(height, sizeOf(cell.picture).height());
        }
        size = {std::max(size.width(), width), size.height() + height + captionHeight};
    }
    const double scale = qApp->devicePixelRatio();
    QPixmap sheet(size * scale);
    sheet.setDevicePixelRatio(scale);
    sheet.fill(colors().surface);
    QPainter painter(&sheet);
    int top = gap;
    for (const Row& row : rows) {
        int left = firstColumn;
        int height = 0;
        for (const Cell& cell : row.cells) {
            height = std::max(height, sizeOf(cell.picture).height());
        }
        painter.setFont(fontOf(TextStyle::controlTitle));
        painter.setPen(colors().text);
        painter.drawText(QRect(gap, top, firstColumn - gap, height), Qt::AlignVCenter | Qt::AlignLeft, row.title);
        painter.setFont(fontOf(TextStyle::caption));
        painter.setPen(colors().secondaryText);
        for (const Cell& cell : row.cells) {
            painter.drawPixmap(left, top, cell.picture);
            painter.drawText(QRect(left + margin, top + height, sizeOf(cell.picture).width() + gap, captionHeight),
                             Qt::AlignTop | Qt::AlignLeft, cell.caption);
            left += sizeOf(cell.picture).width() + gap;
        }
        top += height + captionHeight;
    }
    return sheet;
}

} // namespace

std::vector<Scene> componentScenes() {
    return {{QStringLiteral("components"), [](AppLanguage language) {
                 const Texts t(language);
                 std::vector<Row> rows = controlRows(t);
                 for (Row& row : listRows(language, t)) {
                     rows.push_back(std::move(row));
                 }
                 return sheetOf(rows);
             }}};
}

} // namespace ovrel::test
