#include "cli/Paths.h"
#include "cli/collect/Collector.h"
#include "cli/collect/Messages.h"
#include "cli/collect/Process.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace HardwareInventory
{
namespace
{
using hw_inventory::Client, hw_inventory::Library, hw_inventory::Result;

// The kinds that are asked for. A thread reads them, so that the process ends with the one that asks while a call hangs.
class Requests
{
public:
    explicit Requests(std::FILE* input)
    {
        std::thread([this, input] { read(input); }).detach();
    }

    std::string next()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !kinds_.empty(); });
        std::string kind = std::move(kinds_.front());
        kinds_.pop_front();
        return kind;
    }

private:
    void read(std::FILE* input)
    {
        while (std::optional<Message> message = receive(input))
        {
            const std::lock_guard lock(mutex_);
            kinds_.push_back(std::move(message->text));
            changed_.notify_one();
        }
        endThisProcess();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::string> kinds_;
};

Message messageOf(Result result)
{
    if (result)
        return {Message::document, 0, std::move(result.document)};
    return {Message::failure, static_cast<std::uint32_t>(result.status), std::move(result.error.text)};
}
}

int serveCollector()
{
    const auto [input, output] = takeStandardPipes();
    const std::optional<Message> library = receive(input);
    if (!library)
        return 1;
    Requests& requests = *new Requests(input); // its thread lives as long as the process
    const auto log = [output = output](hw_inventory::Level level, const std::string& line) {
        send(output, {Message::log, static_cast<std::uint32_t>(level), line});
    };
    try
    {
        Client client(Library::load(pathOf(library->text)), library->number ? hw_inventory::Log(log) : hw_inventory::Log());
        send(output, {Message::ready});
        while (true)
            if (const DocumentKind* const kind = kindNamed(requests.next()))
                send(output, messageOf(client.collect(enumerator(*kind), std::chrono::milliseconds::max())));
    }
    catch (const std::runtime_error& error)
    {
        send(output, {Message::refused, 0, error.what()});
        endThisProcess(); // a thread of it still reads
    }
}
}
