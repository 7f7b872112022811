/// \file queue_panel.h
/// The list side of the main window.
#pragma once

#include <QAction>
#include <QVariantAnimation>
#include <QWidget>

class QMenu;
class QStackedWidget;

namespace ovrel {

class Button;
class DropZone;
class ElidedLabel;
class Model;
class Pill;
class QueueView;
class TextLabel;

/// The list with what can be done to it, or the invitation to fill it. Takes files and folders that are dropped
/// anywhere on it. Main thread.
class QueuePanel final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueuePanel)

public:
    /// \param model outlives this
    explicit QueuePanel(Model& model, QWidget* parent = nullptr);
    ~QueuePanel() override = default;

    /// What the keyboard does to the list wherever it is; owned by this.
    QAction& addFiles() { return *addFiles_; }
    QAction& addFolder() { return *addFolder_; }
    QAction& selectAll() { return *selectAll_; }
    QAction& removeSelected() { return *removeSelected_; }

    QueueView& list() { return *list_; }
    DropZone& dropZone() { return *dropZone_; }

    /// \param compact whether the text is large for the width of the window
    void setCompact(bool compact);

    /// Puts the focus where work begins.
    void takeFocus();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class DropOutline;

    QWidget* listPage();
    QWidget* head(QWidget* page);
    QWidget* selectionBar(QWidget* page);
    void takeTexts();
    void takeItems();
    void takeSelection();
    void takeState();
    void fadeDrag();

    Model& model_;
    QStackedWidget* pages_;
    DropZone* dropZone_;
    DropOutline* outline_;
    QueueView* list_ = nullptr;
    TextLabel* title_ = nullptr;
    Pill* count_ = nullptr;
    Button* clear_ = nullptr;
    Button* add_ = nullptr;
    QMenu* addMenu_ = nullptr;
    QAction* addFiles_ = nullptr;
    QAction* addFolder_ = nullptr;
    QAction* selectAll_ = nullptr;
    QAction* removeSelected_ = nullptr;
    ElidedLabel* selected_ = nullptr;
    ElidedLabel* hint_ = nullptr;
    Button* remove_ = nullptr;
    QVariantAnimation drag_; ///< 0 … 1: how far the sign that something is dragged over has faded in
    double dragShare_ = 0.0;
};

} // namespace ovrel
