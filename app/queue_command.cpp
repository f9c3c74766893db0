#include <fmt/format.h>
#include <windows.h>

#include <memory>
#include <mutex>

#include "app/commands.h"
#include "app/stop_signal.h"
#include "tandor/operation_queue.h"

namespace tandor::app {
namespace {

struct QueueOptions {
    int pushes = 10;
    int bound = 2;
    unsigned busy = 120;
    unsigned every = 40;
    bool resident = false;
};

// What happens is told by several threads.
class Narrator {
public:
    explicit Narrator(bool silent) : silent_(silent), begin_(::GetTickCount64()) {}
    void Tell(const std::string& what) {
        if (silent_) return;
        const std::lock_guard lock(mutex_);
        PrintLine(fmt::format("{:6} ms  thread {:<6} {}", ::GetTickCount64() - begin_, ::GetCurrentThreadId(), what));
        std::fflush(stdout);
    }

private:
    std::mutex mutex_;
    bool silent_;
    std::uint64_t begin_;
};

// An operation that tells when it is run, and when it is destroyed without having been run.
class Demonstration {
public:
    Demonstration(Narrator& narrator, int number, unsigned busy)
        : narrator_(narrator), name_(fmt::format("operation {}", number)), busy_(busy) {}
    ~Demonstration() {
        if (!ran_) narrator_.Tell(name_ + " dropped");
    }
    Demonstration(const Demonstration&) = delete;
    Demonstration& operator=(const Demonstration&) = delete;

    void Run() {
        ran_ = true;
        narrator_.Tell(name_ + " begins");
        ::Sleep(busy_);
        narrator_.Tell(name_ + " ends");
    }

private:
    Narrator& narrator_;
    std::string name_;
    unsigned busy_;
    bool ran_ = false;
};

void Demonstrate(Context& context, const QueueOptions& options) {
    Narrator narrator(context.json);
    const std::unique_ptr<IOperationQueue> queue(options.resident ? OperationQueueFactory::CreateResident()
                                                                  : OperationQueueFactory::Create());
    if (queue == nullptr) throw std::bad_alloc();
    const auto& counted = static_cast<OperationQueueBase&>(*queue);
    const StopSignal stop(0);
    queue->SetMaxSize(options.bound);
    queue->Start();
    bool stopped = false;
    int pushed = 0;
    while (pushed < options.pushes && !stopped) {
        const auto operation = std::make_shared<Demonstration>(narrator, ++pushed, options.busy);
        narrator.Tell(fmt::format("operation {} pushed", pushed));
        queue->Push([operation] { operation->Run(); });
        stopped = stop.WaitFor(options.every);
    }
    while (!stopped && counted.GetCounters().queued + counted.GetCounters().running > 0) stopped = stop.WaitFor(10);
    queue->Stop();
    const TandorUtil::WorkCounters counters = counted.GetCounters();
    if (context.json)
        return PrintJson({{"pushed", pushed},
                          {"done", counters.done},
                          {"dropped", counters.dropped},
                          {"refused", counters.refused}});
    PrintLine(fmt::format("{} pushed: {} done, {} dropped, {} refused", pushed, counters.done, counters.dropped,
                          counters.refused));
}

}  // namespace

void AddQueueCommand(CLI::App& app, Context& context) {
    const auto options = std::make_shared<QueueOptions>();
    CLI::App* const queue = app.add_subcommand("queue", "Watch an operation queue with a busy worker drop its oldest");
    queue->add_option("--pushes", options->pushes, "How many operations are pushed")
        ->check(CLI::Range(1, 100'000))
        ->capture_default_str();
    queue->add_option("--bound", options->bound, "The most that wait")->capture_default_str();
    queue->add_option("--busy", options->busy, "Milliseconds that each operation takes")
        ->check(CLI::Range(0, 60'000))
        ->capture_default_str();
    queue->add_option("--every", options->every, "Milliseconds between two pushes")
        ->check(CLI::Range(0, 60'000))
        ->capture_default_str();
    queue->add_flag("--resident", options->resident,
                    "With a worker thread that stays, instead of one that comes with the work");
    queue->footer("Example:\n  tandorctl queue --pushes 5 --bound 2 --busy 100 --every 20");
    queue->callback([options, &context] { Demonstrate(context, *options); });
}

}  // namespace tandor::app
