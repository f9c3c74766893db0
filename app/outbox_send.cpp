#include "app/outbox_send.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
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

// What a collector says of a request that it answered with 2xx.
struct Receipt {
    unsigned long long rejected = 0;  // records that it did not take
    std::string message;
};

std::optional<unsigned long long> CountFrom(const Json& count) {
    if (count.is_number_unsigned()) return count.get<unsigned long long>();
    return count.is_string() ? ParseDecimal<unsigned long long>(count.get<std::string>()) : std::nullopt;
}

// Nothing when that is no collector's answer: a gateway that wants its user to sign in answers with 200 as well.
std::optional<Receipt> ReceiptFrom(const std::string& body) {
    if (body.empty()) return Receipt{};
    const Json answer = Json::parse(body, nullptr, false);
    if (!answer.is_object()) return std::nullopt;
    const auto partial = answer.find("partialSuccess");
    if (partial == answer.end() || partial->is_null()) return Receipt{};
    if (!partial->is_object()) return std::nullopt;
    const auto rejected = CountFrom(partial->value("rejectedLogRecords", Json(0U)));
    const Json message = partial->value("errorMessage", Json(""));
    if (!rejected || !message.is_string()) return std::nullopt;
    return Receipt{*rejected, message.get<std::string>()};
}

class Sender {
public:
    Sender(pelora::Outbox& outbox, const SendOptions& options, SendResult& result)
        : outbox_(outbox), options_(options), result_(result), poster_(options.http) {}

    // A collector that rejects a part of a batch does not say which one: the halves are sent by themselves, down to the
    // records that it rejects alone. What it took before it receives once more, under the same identifiers.
    void Send(std::span<const pelora::OutboxRecord> records) {
        std::string request;
        AppendOtlp(records, request);
        const PostResult answer = Deliver(request);
        if (answer.status == 0 || WorthAnotherTry(answer)) {
            result_.gave_up = Describe(answer);
        } else if (answer.status < 200 || answer.status >= 300) {
            Refused(records, Describe(answer));
        } else if (const Receipt receipt = *ReceiptFrom(answer.body); receipt.rejected == 0) {
            if (!receipt.message.empty()) result_.warning = receipt.message;
            Taken(records);
        } else if (records.size() == 1 || receipt.rejected >= records.size()) {
            Refused(records, "rejected: " + receipt.message);
        } else {
            Send(records.first(records.size() / 2));
            if (result_.gave_up.empty()) Send(records.subspan(records.size() / 2));
        }
    }

private:
    void Refused(std::span<const pelora::OutboxRecord> records, const std::string& why) {
        result_.refused += records.size();
        result_.refusal = why;
    }

    void Taken(std::span<const pelora::OutboxRecord> records) {
        std::vector<unsigned long long> sequences;
        sequences.reserve(records.size());
        for (const auto& record : records) sequences.push_back(record.sequence);
        unsigned long long removed = 0;
        Check(outbox_.Remove(sequences, removed));
        result_.sent += records.size();
    }

    // Until there is a clear answer, or it was tried often enough.
    PostResult Deliver(const std::string& body) {
        auto backoff = options_.backoff;
        for (int attempt = 1;; ++attempt) {
            PostResult answer = poster_.PostJson(body);
            if (answer.status >= 200 && answer.status < 300 && !ReceiptFrom(answer.body)) {
                answer.trouble = "not a collector's " + Describe(answer);
                answer.status = 0;
            }
            if (!WorthAnotherTry(answer) || attempt >= options_.attempts) return answer;
            if (answer.retry_after && *answer.retry_after > options_.longest_wait) return answer;
            Wait(answer, backoff);
            backoff = std::min<std::chrono::milliseconds>(backoff * 2, kLongestBackoff);
        }
    }

    // Never shorter than asked for; varied, so that a fleet does not come back all at once.
    void Wait(const PostResult& answer, std::chrono::milliseconds backoff) {
        std::uniform_real_distribution<double> share(0.5, 1.0);
        const auto varied = std::chrono::duration_cast<std::chrono::milliseconds>(backoff * share(random_));
        std::this_thread::sleep_for(answer.retry_after ? *answer.retry_after + varied / 4 : varied);
    }

    pelora::Outbox& outbox_;
    const SendOptions& options_;
    SendResult& result_;
    HttpPoster poster_;
    std::mt19937_64 random_{std::random_device{}()};
};

}  // namespace

SendResult SendOutbox(pelora::Outbox& outbox, const SendOptions& options,
                      const std::function<void(unsigned long long, unsigned long long)>& progress) {
    SendResult result;
    Check(outbox.TellDrops());
    pelora::OutboxStatus status;
    Check(outbox.Status(status));
    Sender sender(outbox, options, result);
    std::vector<pelora::OutboxRecord> batch;
    // What is put from now on is for the next time: this ends.
    for (unsigned long long after = 0; after < status.put && result.gave_up.empty(); after = batch.back().sequence) {
        Check(outbox.Read(after, options.batch, kBatchBytes, batch));
        std::erase_if(batch, [&](const auto& record) { return record.sequence > status.put; });
        if (batch.empty()) break;
        sender.Send(batch);
        progress(result.sent + result.refused, status.records);
    }
    return result;
}

}  // namespace tandor::app
