#include <nlohmann/json.hpp>
#include <random>

#include "pelora/outbox.h"
#include "support/collector.h"
#include "support/hostile_crypto.h"
#include "support/loopback_server.h"
#include "support/sent_records.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using nlohmann::json;

class OutboxSend : public testing::Test {
protected:
    OutboxSend() : path(folder.path / L"outbox.db"), outbox(tandor::Utf8FromWide(path.native())) {}

    void Fill(int count) {
        for (int i = 0; i < count; ++i) {
            pelora::OutboxRecord record;
            record.event = "606008003";
            record.values = {{"0", std::to_string(i), false}};
            ASSERT_EQ(outbox.Put(record), "");
            identifiers.insert(record.identifier);
        }
    }
    std::set<std::string> Left() {
        std::vector<pelora::OutboxRecord> records;
        EXPECT_EQ(outbox.Read(0, 1'000'000, ~std::size_t{0}, records), "");
        return Identifiers(records);
    }
    void Receive(const std::string& body) {
        const json request = json::parse(body);
        for (const json& record : request["resourceLogs"][0]["scopeLogs"][0]["logRecords"])
            received.insert(record["attributes"][0]["value"]["stringValue"].get<std::string>());
    }
    ProgramRun Send(const Collector& collector, const std::wstring& options) {
        return RunTandorctl(L"--json outbox --file \"" + path.native() + L"\" send --to " +
                            tandor::WideFromUtf8(collector.Url()) + L" --backoff 5 " + options);
    }

    TemporaryFolder folder;
    std::filesystem::path path;
    pelora::Outbox outbox;
    std::set<std::string> identifiers, received;
};

TEST_F(OutboxSend, LosesNothingToACollectorThatFailsAtRandom) {
    Fill(static_cast<int>(Amount("TANDOR_OUTBOX_SENT", 300)));
    std::mt19937 random(Seed(7));
    Collector collector(
        [&random]() -> Collector::Behaviour {
            using Way = Collector::Way;
            const Collector::Behaviour bad[] = {{Way::kAnswer, 400},  {Way::kAnswer, 429},
                                                {Way::kAnswer, 503},  {Way::kReset},
                                                {Way::kTakeAndReset}, {random() % 8 == 0 ? Way::kStall : Way::kAnswer}};
            const std::size_t turn = random() % 12;
            return turn < std::size(bad) ? bad[turn] : Collector::Behaviour{};
        },
        [this](const std::string& body) { Receive(body); });
    // What was answered with 400 stays for another run.
    for (int run = 0; run < 20 && !Left().empty(); ++run) {
        Send(collector, L"--batch 20 --timeout 1");
        std::set<std::string> known = received;
        known.merge(Left());
        ASSERT_EQ(known, identifiers) << "each was received or is still here, under its own identifier";
    }
    EXPECT_TRUE(Left().empty());
    EXPECT_EQ(received, identifiers);
}

TEST_F(OutboxSend, NeverRepeatsWhatWasRefusedAndHonoursRetryAfter) {
    Fill(3);
    std::vector<ULONGLONG> asked;  // when each request came
    Collector collector(
        [&]() -> Collector::Behaviour {
            asked.push_back(::GetTickCount64());
            if (asked.size() == 1) return {Collector::Way::kAnswer, 400};
            if (asked.size() == 2) return {Collector::Way::kAnswer, 503, "Retry-After: 1\r\n"};
            return {};
        },
        [this](const std::string& body) { Receive(body); });
    const auto run = Send(collector, L"--batch 1");
    EXPECT_EQ(run.exit_code, 1);
    ASSERT_EQ(asked.size(), 4u) << run.out << run.error;
    EXPECT_GE(asked[2] - asked[1], 950u);
    EXPECT_EQ(Left(), std::set<std::string>{*identifiers.begin()});
    const json result = json::parse(run.out);
    EXPECT_EQ(result["sent"], 2);
    EXPECT_EQ(result["refused"], 1);
}

TEST_F(OutboxSend, GivesUpWhenNobodyAnswersAndKeepsAll) {
    Fill(2);
    Collector collector([]() -> Collector::Behaviour { return {Collector::Way::kAnswer, 503, ""}; }, [](auto&) {});
    const auto run = Send(collector, L"--attempts 3");
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(collector.Requests(), 3);
    EXPECT_EQ(json::parse(run.out)["gave_up"], "answer 503: {}");
    EXPECT_EQ(Left(), identifiers);
}

TEST_F(OutboxSend, VerbsShowExportAndDrop) {
    Fill(2);
    const std::wstring verb = L"outbox --file \"" + path.native() + L"\" ";
    const auto status = RunTandorctl(L"--json " + verb + L"status");
    EXPECT_EQ(json::parse(status.out)["records"], 2) << status.error;
    const auto lines = RunTandorctl(verb + L"export");
    const json first = json::parse(lines.out.substr(0, lines.out.find('\n')));
    EXPECT_EQ(first["identifier"], *identifiers.begin());
    EXPECT_EQ(first["values"][0]["value"], "0");
    const auto otlp = RunTandorctl(verb + L"export --format otlp");
    Receive(otlp.out);
    EXPECT_EQ(received, identifiers);
    EXPECT_EQ(RunTandorctl(verb + L"show 77").exit_code, 1);
    EXPECT_EQ(RunTandorctl(verb + L"drop").exit_code, 2);
    EXPECT_EQ(RunTandorctl(verb + L"drop 1").exit_code, 0);
    EXPECT_EQ(Left().size(), 1u);
    EXPECT_EQ(RunTandorctl(L"outbox --file no-such.db status").exit_code, 1);
}

TEST_F(OutboxSend, GoesOverHttpsToACollectorThatIsTrusted) {
    Fill(3);
    const Identity authority = MakeAuthority("Collectors, Prüfstelle");
    const Identity identity = MakeServer(authority, "IP:127.0.0.1");
    std::string head;
    LoopbackServer server({&identity}, [&](Exchange& exchange) {
        head = exchange.head;
        Receive(exchange.body);
        exchange.Answer("{}");
    });
    const std::filesystem::path bundle = folder.path / L"ca 手机.pem";
    WriteAll(bundle, Pem(authority));
    const std::string url = server.Url();
    const std::wstring line = L"outbox --file \"" + path.native() + L"\" send --attempts 1 --to " +
                              std::wstring(url.begin(), url.end()) + L" ";
    EXPECT_EQ(RunTandorctl(line).exit_code, 1) << "nobody trusts that authority";
    EXPECT_EQ(Left().size(), 3u);
    const HostileCrypto configuration;  // nobody's configuration is read
    const ProgramRun run = RunTandorctl(line + L"--header \"x-fleet: 7\" --ca \"" + bundle.native() + L"\"");
    EXPECT_EQ(run.exit_code, 0) << run.out << run.error;
    EXPECT_EQ(received, identifiers);
    EXPECT_TRUE(Left().empty());
    EXPECT_NE(head.find("x-fleet: 7"), std::string::npos);
    EXPECT_EQ(RunTandorctl(L"outbox send --to ftp://127.0.0.1/").exit_code, 2);
}

}  // namespace
