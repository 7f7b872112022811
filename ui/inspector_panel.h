/// \file inspector_panel.h
/// The settings of a run.
#pragma once

#include <QScrollArea>
#include <QSlider>

class QComboBox;
class QVBoxLayout;

namespace ovrel {

class FolderButton;
class IconView;
class Model;
class Segments;
class Switch;
class TextLabel;

/// A column beside the list, which scrolls where it does not fit. Disabled as a whole during a run. Main thread.
class InspectorPanel final : public QScrollArea {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(InspectorPanel)

public:
    /// Around the column, for the lines around what has the keyboard.
    static constexpr int margin = 4;

    /// \param model outlives this
    explicit InspectorPanel(Model& model, QWidget* parent = nullptr);
    ~InspectorPanel() override = default;

    /// \param width of the column with its margins, in pixels; it is wider than that where its texts would be cut
    /// \param dense whether everything stands closer together because there is little height
    void setMetrics(int width, bool dense);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* outputCard();
    QWidget* settingsCard();
    QWidget* qualitySection(QWidget* card);
    QWidget* methodSection(QWidget* card);
    QWidget* compressionSection(QWidget* card);
    QWidget* informationLine();
    void connectSettings();

    void takeTexts();
    void takeQuality();
    void takeMode();
    void takeSpeed();
    void takeOutput();
    void takeInformation();
    void takeLastSection();

    Model& model_;
    int width_ = 328 + 2 * margin;
    bool dense_ = false;
    QVBoxLayout* column_ = nullptr;
    QVBoxLayout* sections_ = nullptr; ///< of the card
    TextLabel* output_ = nullptr;
    TextLabel* outputNote_ = nullptr;
    TextLabel* qualityTitle_ = nullptr;
    TextLabel* qualityValue_ = nullptr;
    QSlider* quality_ = nullptr;
    TextLabel* smaller_ = nullptr;
    TextLabel* finer_ = nullptr;
    TextLabel* methodTitle_ = nullptr;
    Segments* method_ = nullptr;
    TextLabel* methodNote_ = nullptr;
    QWidget* compression_ = nullptr;
    TextLabel* compressionTitle_ = nullptr;
    QComboBox* speed_ = nullptr;
    TextLabel* folderTitle_ = nullptr;
    FolderButton* folder_ = nullptr;
    Switch* recursive_ = nullptr;
    IconView* informationIcon_ = nullptr;
    TextLabel* information_ = nullptr;
};

} // namespace ovrel
