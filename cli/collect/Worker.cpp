#include "cli/Paths.h"
#include "cli/collect/Collector.h"
#include "cli/collect/Messages.h"
#include "cli/collect/Process.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace HardwareInventory
{
namespace
{
using hw_inventory::Result, hw_inventory::Status;
using std::chrono::milliseconds, std::chrono::steady_clock, std::chrono::system_clock;

// A worker process, with a thread that reads what it sends.
class Worker
{
public:
    Worker() : process_("worker"), reader_([this] { read(); }) {}
    ~Worker()
    {
        process_.end();
        reader_.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // What becomes of a message to a worker that has ended shows in next().
    void tell(const Message& message) { send(process_.input(), message); }

    // The next message; none if the time is up or the worker has ended.
    std::optional<Message> next(steady_clock::time_point end)
    {
        std::unique_lock lock(mutex_);
        changed_.wait_until(lock, end, [this] { return ended_ || !messages_.empty(); });
        if (messages_.empty())
            return std::nullopt;
        Message message = std::move(messages_.front());
        messages_.pop_front();
        return message;
    }

    bool ended()
    {
        const std::lock_guard lock(mutex_);
        return ended_;
    }
    std::string end() { return process_.end(); }

private:
    void read()
    {
        while (true)
        {
            std::optional<Message> message = receive(process_.output());
            const std::lock_guard lock(mutex_);
            ended_ = !message;
            if (message)
                messages_.push_back(std::move(*message));
            changed_.notify_one();
            if (ended_)
                return;
        }
    }

    Process process_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Message> messages_;
    bool ended_ = false;
    std::thread reader_;
};

Result failure(Status status, std::string text)
{
    Result result;
    result.status = status;
    result.error.text = std::move(text);
    return result;
}

class Elsewhere : public Collector
{
public:
    Elsewhere(std::filesystem::path library, hw_inventory::Log log, milliseconds limit)
        : library_(std::move(library)), log_(std::move(log)), limit_(limit)
    {
    }

    Collected collect(const DocumentKind& kind) override
    {
        Collected collected;
        collected.began = system_clock::now();
        auto start = steady_clock::now();
        std::optional<Result> result;
        if (!worker_)
            result = startWorker();
        if (!result)
        {
            collected.began = system_clock::now();
            start = steady_clock::now();
            worker_->tell({Message::kind, 0, std::string(kind.name)});
            result = wait();
        }
        collected.result = std::move(*result);
        collected.took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
        return collected;
    }

private:
    // A failure unless the worker is ready.
    std::optional<Result> startWorker()
    {
        try
        {
            worker_.emplace();
        }
        catch (const std::system_error& error)
        {
            throw UnavailableError(error.what());
        }
        worker_->tell({Message::library, log_ ? 1U : 0U, utf8(library_)});
        return wait();
    }

    // The result, or none of a worker that is ready. A worker that has none is given up.
    std::optional<Result> wait()
    {
        const auto end = steady_clock::now() + limit_;
        while (std::optional<Message> message = worker_->next(end))
        {
            switch (message->type)
            {
            case Message::log:
                log_(static_cast<hw_inventory::Level>(message->number), message->text);
                break;
            case Message::ready:
                return std::nullopt;
            case Message::document:
            {
                Result result;
                result.document = std::move(message->text);
                return result;
            }
            case Message::refused:
                throw UnavailableError(message->text);
            default:
                return failure(static_cast<Status>(message->number), std::move(message->text));
            }
        }
        const bool ended = worker_->ended();
        const std::string how = worker_->end();
        worker_.reset();
        return ended ? failure(kWorkerEnded, "the process that collected it ended with " + how)
                     : failure(Status::timed_out, "not done after " + seconds());
    }

    std::string seconds() const
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%g s", std::chrono::duration<double>(limit_).count());
        return text;
    }

    std::filesystem::path library_;
    hw_inventory::Log log_;
    milliseconds limit_;
    std::optional<Worker> worker_;
};
}

std::unique_ptr<Collector> collectElsewhere(const std::filesystem::path& library, hw_inventory::Log log, milliseconds limit)
{
    return std::make_unique<Elsewhere>(library, std::move(log), limit);
}
}
