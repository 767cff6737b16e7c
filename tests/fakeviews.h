#pragma once

#include "app/mainviews.h"
#include "platform/waiting.h"

#include <QStringList>

namespace px40 {

/// Stands for the main window in tests of its commands: data sets without windows, of which the last one is
/// active, and answers from a script.
class FakeViews : public MainViews
{
  public:
    QList<std::shared_ptr<DataSet>> DataSets() const override { return sets; }
    std::shared_ptr<DataSet> ActiveData() const override { return sets.isEmpty() ? nullptr : sets.last(); }
    void AddDataWindow(std::shared_ptr<DataSet> dataSet, bool) override { sets << dataSet; }
    void Activate(const std::shared_ptr<DataSet> &) override {}
    void BringToFront(const std::shared_ptr<DataSet> &dataSet) override
    {
        sets.append(sets.takeAt(sets.indexOf(dataSet)));
    }
    QCoro::Task<std::optional<ForwardChoice>> AskForward(std::shared_ptr<ForwardMemory>) override
    {
        co_await NextEventLoopTurn();
        co_return forward;
    }
    void ShowFile(const QString &name, const std::function<void()> &) override { shown << name; }
    void ShowBusy(bool) override {}
    void TakeFocus() override {}
    void CloseAll() override { sets.clear(); }

    QList<std::shared_ptr<DataSet>> sets;
    std::optional<ForwardChoice> forward;
    QStringList shown;
};

} // namespace px40
