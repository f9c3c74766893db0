// queue: files are hashed on a thread pool, and the newest of them on a bounded queue.
#include <fmt/format.h>
#include <windows.h>

#include <atomic>
#include <memory>

#include "app/commands.h"
#include "app/file_hash.h"
#include "app/stop_signal.h"
#include "base/win_handle.h"
#include "tandor/operation_queue.h"
#include "tandor/thread_pool.h"

namespace tandor::app {
namespace {

using TandorUtil::WorkCounters;

struct DemoOptions {
    std::vector<std::string> files;
    unsigned threads = TandorUtil::ThreadPool::DEFAULT_SIZE;
    int newest = 2;
    bool resident = false;
};

// One file, and what was found out about it. Each has one writer at a time.
struct Piece {
    std::string file, digest{}, error{};
    bool on_queue = false;
};

// What the workers tell the thread that waits for them, and the other way round.
struct Shared {
    std::atomic<unsigned long long> bytes{0};
    std::atomic<bool> stopped{false};
};

// A task must not throw.
void HashPiece(Piece& piece, Shared& shared) {
    unsigned long long counted = 0;
    try {
        piece.digest = HashFile(piece.file, [&](unsigned long long done, unsigned long long) {
            shared.bytes += done - std::exchange(counted, done);
            return !shared.stopped;
        });
    } catch (const std::exception& error) {
        piece.error = error.what();
    }
}

// Until nothing waits or runs any more, or until Ctrl-C.
template <class Counted>
void WaitForAll(const Counted& counted, const StopSignal& stop, Shared& shared) {
    Progress progress("hashing");
    for (WorkCounters now = counted.GetCounters(); now.queued + now.running > 0; now = counted.GetCounters()) {
        progress.Count(shared.bytes / 1'000'000, "MB");
        shared.stopped = stop.WaitFor(10);
        if (shared.stopped) return;
    }
}

WorkCounters HashOnPool(std::vector<Piece>& pieces, unsigned threads, const StopSignal& stop, Shared& shared) {
    TandorUtil::ThreadPool pool(threads);
    pool.Start();
    for (Piece& piece : pieces) pool.Submit([&] { HashPiece(piece, shared); });
    WaitForAll(pool, stop, shared);
    return pool.GetCounters();
}

// A first operation holds the worker until all files are pushed, so that the queue has to choose among them.
WorkCounters HashNewest(std::vector<Piece>& pieces, const DemoOptions& options, const StopSignal& stop,
                        Shared& shared) {
    const KernelHandle all_pushed(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const std::unique_ptr<IOperationQueue> queue(options.resident ? OperationQueueFactory::CreateResident()
                                                                  : OperationQueueFactory::Create());
    if (queue == nullptr) throw std::bad_alloc();
    const auto& counted = static_cast<OperationQueueBase&>(*queue);
    queue->SetMaxSize(options.newest);
    queue->Start();
    queue->Push([&] { ::WaitForSingleObject(all_pushed.Get(), INFINITE); });
    while (counted.GetCounters().running == 0 && !stop.WaitFor(1)) {
    }
    for (Piece& piece : pieces) {
        queue->Push([&] {
            HashPiece(piece, shared);
            piece.on_queue = true;
        });
    }
    ::SetEvent(all_pushed.Get());
    WaitForAll(counted, stop, shared);
    queue->Stop();
    return counted.GetCounters();
}

Json JsonOf(const WorkCounters& counters) {
    return {{"submitted", counters.submitted}, {"queued", counters.queued},   {"running", counters.running},
            {"done", counters.done},           {"dropped", counters.dropped}, {"refused", counters.refused}};
}

void ShowCounters(const WorkCounters& pool, const WorkCounters& queue) {
    std::vector<std::vector<std::string>> rows{{""}, {"pool"}, {"queue"}};
    const Json counters[] = {JsonOf(pool), JsonOf(queue)};
    for (const auto& [name, number] : counters[0].items()) {
        rows[0].push_back(name);
        rows[1].push_back(number.dump());
        rows[2].push_back(counters[1][name].dump());
    }
    PrintTable(rows);
}

// What became of a file on the queue.
std::string OnQueue(const Piece& on_pool, const Piece& on_queue) {
    if (!on_queue.on_queue) return "dropped";
    if (on_queue.digest != on_pool.digest) return "another digest";
    return on_pool.error.empty() ? "same digest" : "not read";
}

void Demonstrate(Context& context, const DemoOptions& options) {
    std::vector<Piece> pieces;
    for (const std::string& file : options.files) pieces.push_back({.file = file});
    std::vector<Piece> again = pieces;
    Shared shared;
    const StopSignal stop(0);
    const WorkCounters pool = HashOnPool(pieces, options.threads, stop, shared);
    const WorkCounters queue = HashNewest(again, options, stop, shared);
    std::vector<std::vector<std::string>> rows{{"FILE", "ON THE QUEUE", "SHA-256"}};
    Json list = Json::array();
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const Piece& piece = pieces[i];
        const std::string verdict = OnQueue(piece, again[i]);
        const bool good = piece.error.empty() && verdict != "another digest";
        if (!good) context.exit_code = 1;
        if (!piece.error.empty()) std::fprintf(stderr, "error: %s\n", piece.error.c_str());
        rows.push_back({piece.file, verdict, piece.digest.empty() ? "-" : piece.digest});
        list.push_back({{"file", piece.file}, {"on_queue", verdict}});
        piece.error.empty() ? list.back()["sha256"] = piece.digest : list.back()["error"] = piece.error;
    }
    if (context.json) return PrintJson({{"files", list}, {"pool", JsonOf(pool)}, {"queue", JsonOf(queue)}});
    PrintTable(rows);
    PrintLine("");
    ShowCounters(pool, queue);
}

}  // namespace

void AddQueueCommand(CLI::App& app, Context& context) {
    const auto options = std::make_shared<DemoOptions>();
    CLI::App* const queue = app.add_subcommand("queue", "The thread pool and the bounded queue at work");
    queue->require_subcommand(1);
    queue->footer("Example:\n  tandorctl queue demo film.mkv photo.jpg notes.txt");
    CLI::App* const demo = queue->add_subcommand(
        "demo", "Hash files on the pool, push them all to a queue that keeps the newest, and count");
    demo->add_option("FILE", options->files, "The files")->required();
    demo->add_option("--threads", options->threads, "Threads of the pool")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    demo->add_option("--newest", options->newest, "How many operations wait on the queue at most")
        ->capture_default_str();
    demo->add_flag("--resident", options->resident,
                   "With a worker thread that stays, instead of one that comes with the work");
    demo->footer(
        "The queue's counters have one operation more: it holds the worker until all files are pushed, so that the\n"
        "oldest of them are dropped. Exit code 1 when a file cannot be read.\n"
        "Example:\n  tandorctl queue demo film.mkv photo.jpg notes.txt --newest 1");
    demo->callback([options, &context] { Demonstrate(context, *options); });
}

}  // namespace tandor::app
