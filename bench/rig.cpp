#include "bench/rig.h"

#include <benchmark/benchmark.h>

#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>

namespace px40::bench {

QCoro::Task<void> LoggedPrompts::Warn(QString text)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    co_return;
}

QCoro::Task<Answer> LoggedPrompts::AskYesNoCancel(QString text, PromptIcon)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    co_return Answer::No;
}

QCoro::Task<int> LoggedPrompts::AskOneOf(QString text, QStringList choices)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    co_return static_cast<int>(choices.size()) - 1;
}

PortRig::PortRig(const std::string &device)
    : store(UserStore::InFile(folder.filePath(QStringLiteral("user.ini")))), ports(store),
      comm(state, ports, prompts)
{
    ports.Fix(PortMap::First, QString::fromStdString(device));
}

LinkRig::LinkRig(sim::ServerOptions options)
    : ServerHolder{sim::PtyServer(std::move(options))}, PortRig(server.DevicePath())
{
}

bool PortRig::Open()
{
    return Finish(comm.OpenPort());
}

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1)
        return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

int RunBenchmarks(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    QLoggingCategory::setFilterRules(QStringLiteral("px40.*.info=false"));
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace px40::bench
