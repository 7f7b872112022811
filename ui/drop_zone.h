/// \file drop_zone.h
/// What stands where the list will be.
#pragma once

#include <QWidget>

class QStackedWidget;

namespace ovrel {

class Button;
class Model;
class Paragraph;
class Pill;
class TextLabel;

/// Invites to drop images, or says that they are being collected. Main thread.
class DropZone final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DropZone)

public:
    /// \param model outlives this
    explicit DropZone(Model& model, QWidget* parent = nullptr);
    ~DropZone() override = default;

    Button& chooseFiles() { return *files_; }
    Button& chooseFolder() { return *folder_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    class Picture;

    QWidget* invitation();
    QWidget* gathering();
    void takeTheme();
    void takeTexts();
    void takeState();

    Model& model_;
    QStackedWidget* pages_;
    Picture* picture_ = nullptr;
    TextLabel* heading_ = nullptr;
    Paragraph* explanation_ = nullptr;
    Pill* formats_ = nullptr;
    Button* files_ = nullptr;
    Button* folder_ = nullptr;
    Button* clear_ = nullptr; ///< while something is remembered of which nothing is listed
    TextLabel* gatheringText_ = nullptr;
};

} // namespace ovrel
