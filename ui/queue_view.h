/// \file queue_view.h
/// The list of images.
#pragma once

#include <QListView>

namespace ovrel {

class EndlessAnimation;
class Model;
class QueueDelegate;
class QueueListModel;

/// Shows a model's items and keeps its selection and that of the user the same. Main thread.
class QueueView final : public QListView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueView)

public:
    /// \param model outlives this
    explicit QueueView(Model& model, QWidget* parent = nullptr);
    ~QueueView() override;

protected:
    void changeEvent(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    void takeUsersSelection(const QItemSelection& selected, const QItemSelection& deselected);
    void takeModelsSelection();
    void followActiveItem();
    void turnSpinner();

    Model& model_;
    QueueListModel* rows_;      ///< a child
    QueueDelegate* delegate_;   ///< a child
    EndlessAnimation* spinner_; ///< a child
    bool adopting_ = false;     ///< the selection comes from the model
};

} // namespace ovrel
