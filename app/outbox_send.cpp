#include "app/outbox_send.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>
#include <thread>

#include "app/command.h"
#include "app/outbox_export.h"
#include "base/decimal.h"

namespace tandor::app {
namespace {

using namespace std::chrono_literals;
constexpr auto kLongestBackoff = 30'000ms;
constexpr std::size_t kBatchBytes = 512 * 1024;

void Check(const std::string& trouble) {
    if (!trouble.empty()) throw CommandError("outbox", trouble, "see 'tandorctl doctor'");
}

bool WorthAnotherTry(const PostResult& answer) {
    switch (answer.status) {
        case 0:
            return !answer.unusable;
        case 429:
        case 502:
        case 503:
        case 504:
            return true;
        default:
            return false;
    }
}

std::string Describe(const PostResult& answer) {
    if (answer.status == 0) return answer.trouble;
    return fmt::format("answer {}{}{}", answer.status, answer.body.empty() ? "" : ": ", answer.body.substr(0, 200));
}

// What the collector says it dropped of a batch that it acknowledged.
unsigned long long Rejected(const std::string& body) {
    const Json answer = Json::parse(body, nullptr, false);
    if (!answer.is_object() || !answer.contains("partialSuccess")) return 0;
    const Json& partial = answer["partialSuccess"];
    if (!partial.is_object() || !partial.contains("rejectedLogRecords")) return 0;
    const Json& count = partial["rejectedLogRecords"];
    if (count.is_number_unsigned()) return count.get<unsigned long long>();
    return count.is_string() ? ParseDecimal<unsigned long long>(count.get<std::string>()).value_or(0) : 0;
}

class Sender {
public:
    Sender(const SendOptions& options) : options_(options), poster_(options.http) {}

    // Until the batch is acknowledged, refused, or tried often enough.
    PostResult Deliver(const std::string& body) {
        auto backoff = options_.backoff;
        for (int attempt = 1;; ++attempt) {
            PostResult answer = poster_.PostJson(body);
            if (!WorthAnotherTry(answer) || attempt >= options_.attempts) return answer;
            if (answer.retry_after && *answer.retry_after > options_.longest_wait) return answer;
            Wait(answer, backoff);
            backoff = std::min<std::chrono::milliseconds>(backoff * 2, kLongestBackoff);
        }
    }

private:
    // Never shorter than asked for; varied, so that a fleet does not come back all at once.
    void Wait(const PostResult& answer, std::chrono::milliseconds backoff) {
        std::uniform_real_distribution<double> share(0.5, 1.0);
        const auto varied = std::chrono::duration_cast<std::chrono::milliseconds>(backoff * share(random_));
        std::this_thread::sleep_for(answer.retry_after ? *answer.retry_after + varied / 4 : varied);
    }

    const SendOptions& options_;
    HttpPoster poster_;
    std::mt19937_64 random_{std::random_device{}()};
};

}  // namespace

SendResult SendOutbox(pelora::Outbox& outbox, const SendOptions& options,
                      const std::function<void(unsigned long long, unsigned long long)>& progress) {
    SendResult result;
    pelora::OutboxStatus status;
    Check(outbox.Status(status));
    Sender sender(options);
    std::vector<pelora::OutboxRecord> batch;
    // What is put from now on is for the next time: this ends.
    for (unsigned long long after = 0; after < status.put; after = batch.back().sequence) {
        Check(outbox.Read(after, options.batch, kBatchBytes, batch));
        std::erase_if(batch, [&](const auto& record) { return record.sequence > status.put; });
        if (batch.empty()) break;
        const PostResult answer =
            sender.Deliver(OtlpOfRecords(batch).dump(-1, ' ', false, Json::error_handler_t::replace));
        if (answer.status >= 200 && answer.status < 300) {
            std::vector<unsigned long long> sequences;
            sequences.reserve(batch.size());
            for (const auto& record : batch) sequences.push_back(record.sequence);
            unsigned long long removed = 0;
            Check(outbox.Remove(sequences, removed));
            result.sent += batch.size();
            result.rejected += Rejected(answer.body);
        } else if (answer.status == 0 || WorthAnotherTry(answer)) {
            result.gave_up = Describe(answer);
            break;
        } else {
            result.refused += batch.size();
            result.refusal = Describe(answer);
        }
        progress(result.sent + result.refused, status.records);
    }
    return result;
}

}  // namespace tandor::app
