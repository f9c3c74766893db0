#include "foundation/message.h"

#include <array>
#include <atomic>
#include <memory>

#include "base/utf.h"

namespace tandor::message_detail {
namespace {

constexpr std::size_t kLargestKept = 16 * 1024;  // characters; a stream that held more is not kept

class StreamPool {
public:
    ~StreamPool() {
        for (auto& slot : slots_) delete slot.exchange(nullptr);
    }
    std::wstringstream* Take() {
        for (auto& slot : slots_) {
            if (std::wstringstream* stream = slot.exchange(nullptr, std::memory_order_acq_rel)) return stream;
        }
        return new std::wstringstream;
    }
    void Give(std::unique_ptr<std::wstringstream> stream) {
        for (auto& slot : slots_) {
            std::wstringstream* empty = nullptr;
            if (slot.compare_exchange_strong(empty, stream.get(), std::memory_order_acq_rel)) {
                (void)stream.release();
                return;
            }
        }
    }

private:
    std::array<std::atomic<std::wstringstream*>, 8> slots_{};
};

StreamPool pool;

}  // namespace

LentStream::LentStream() : stream_(pool.Take()) {}

LentStream::~LentStream() {
    std::unique_ptr<std::wstringstream> stream(stream_);
    if (stream->view().size() > kLargestKept) return;
    static const std::wstring nothing;
    stream->str(nothing);
    stream->clear();
    stream->flags(std::ios::dec | std::ios::skipws);
    stream->precision(6);
    stream->fill(L' ');
    pool.Give(std::move(stream));
}

void PutNarrow(std::wstringstream& stream, std::string_view text) { Put(stream, WideFromUtf8Lossy(text)); }

void WriteHostLog(LOG_MESSAGE_LEVEL level, std::wstringstream& stream, std::wstring_view function) {
    Put(stream, L"(");
    Put(stream, function);
    Put(stream, L")");
    VxLogger::GetInstance().Log(level, stream);
}

}  // namespace tandor::message_detail
