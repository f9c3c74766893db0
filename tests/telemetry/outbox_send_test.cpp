#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>

#include "pelora/outbox.h"
#include "suite/sqlite/database.h"
#include "support/collector.h"
#include "support/hostile_crypto.h"
#include "support/loopback_server.h"
#include "support/otlp_check.h"
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
    ~OutboxSend() override { EXPECT_EQ(fault, "") << "a request that the protocol does not know"; }
    void Receive(const std::string& body) {
        if (fault.empty()) fault = OtlpCheck::FaultIn(body);
        const json request = json::parse(body);
        for (const json& record : request["resourceLogs"][0]["scopeLogs"][0]["logRecords"])
            received.insert(record["attributes"][0]["value"]["stringValue"].get<std::string>());
    }
    ProgramRun Send(const Collector& collector, const std::wstring& options) {
        return RunTandorctl(L"--json outbox --file \"" + path.native() + L"\" send " +
                            tandor::WideFromUtf8(collector.Url()) + L" --backoff 5 " + options);
    }

    TemporaryFolder folder;
    std::filesystem::path path;
    pelora::Outbox outbox;
    std::set<std::string> identifiers, received;
    std::string fault;
};

// Takes some of the records, and says how many it did not take.
Collector::Behaviour TakePart(const std::string& body, std::mt19937& random, std::set<std::string>& taken) {
    json request = json::parse(body);
    int rejected = 0;
    for (const json& record : request["resourceLogs"][0]["scopeLogs"][0]["logRecords"]) {
        if (random() % 3 == 0) {
            ++rejected;
        } else {
            taken.insert(record["attributes"][0]["value"]["stringValue"].get<std::string>());
        }
    }
    return {Collector::Way::kAnswer, 200, "",
            R"({"partialSuccess":{"rejectedLogRecords":")" + std::to_string(rejected) + R"(","errorMessage":"full"}})",
            false};
}

TEST_F(OutboxSend, LosesNothingToACollectorThatFailsAtRandom) {
    Fill(static_cast<int>(Amount("TANDOR_OUTBOX_SENT", 300)));
    std::mt19937 random(Seed(7));
    Collector elsewhere([](auto&) { return Collector::Behaviour{}; }, [](auto&) {});
    Collector collector(
        [&](const std::string& body) -> Collector::Behaviour {
            using Way = Collector::Way;
            const std::size_t turn = random() % 22;
            if (turn == 21) return TakePart(body, random, received);
            const std::string sign_in = "<html>Please sign in</html>";
            const Collector::Behaviour bad[] = {{Way::kAnswer, 400},
                                                {Way::kAnswer, 429},
                                                {Way::kAnswer, 500},
                                                {Way::kAnswer, 503},
                                                {Way::kReset},
                                                {Way::kTakeAndReset},
                                                {Way::kCut},
                                                {Way::kGarbage},
                                                {Way::kAnswer, 200, "Content-Type: text/html\r\n", sign_in, false},
                                                {Way::kAnswer, 302, "Location: " + elsewhere.Url() + "\r\n"},
                                                {random() % 8 == 0 ? Way::kStall : Way::kAnswer}};
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
    EXPECT_EQ(collector.Strange(), 0);
    EXPECT_EQ(elsewhere.Requests(), 0) << "records go to nobody but the collector";
}

// A collector that takes neither the second nor the last record, alone or with others.
TEST_F(OutboxSend, OfABatchTheRejectedRecordsAloneStay) {
    Fill(5);
    const std::vector<std::string> all(identifiers.begin(), identifiers.end());
    const std::set<std::string> bad{all[1], all[4]};
    Collector collector(
        [&](const std::string& body) -> Collector::Behaviour {
            const auto rejected = std::ranges::count_if(bad, [&](auto& id) { return body.find(id) != body.npos; });
            const std::string answer = R"({"partialSuccess":{"rejectedLogRecords":)" + std::to_string(rejected) +
                                       R"(,"errorMessage":"no such field"}})";
            return {Collector::Way::kAnswer, 200, "", answer};
        },
        [this](const std::string& body) { Receive(body); });
    const json result = json::parse(Send(collector, L"").out);
    EXPECT_EQ(result["sent"], 3);
    EXPECT_EQ(result["refused"], 2);
    EXPECT_EQ(result["refusal"], "rejected: no such field");
    EXPECT_EQ(Left(), bad);
}

TEST_F(OutboxSend, WhatTheSystemCannotSayTheProtocolStillCan) {
    pelora::OutboxRecord odd;
    odd.kind = pelora::OutboxKind::kFault;
    odd.event = "992614416";
    odd.extra = "手机\x01";
    odd.values = {{"n", "-9223372036854775808", true},
                  {"zero", std::string("a\0\"\\", 4), false},
                  {"bytes", "\xFF\xED\xA0\x80z", false},
                  {"large", std::string(1 << 20, 'x'), false}};
    odd.files = {{"C:\\log\\手机.log", -1, 0}, {"x", 1, 2}};
    ASSERT_EQ(outbox.Put(odd), "");
    identifiers.insert(odd.identifier);
    ASSERT_EQ(Left(), identifiers);
    pelora::Database(tandor::Utf8FromWide(path.native())).Execute("UPDATE records SET time = -5");  // a clock set back
    const auto otlp = RunTandorctl(L"outbox --file \"" + path.native() + L"\" export --otlp");
    Receive(otlp.out);
    EXPECT_EQ(received, identifiers);
    EXPECT_NE(otlp.out.find("\"stringValue\":\"a\\u0000\\\"\\\\\""), std::string::npos);
    EXPECT_NE(otlp.out.find("\"timeUnixNano\":\"0\""), std::string::npos);
    EXPECT_NE(otlp.out.find("\xEF\xBF\xBDz\""), std::string::npos);
    const auto line = json::parse(RunTandorctl(L"outbox --file \"" + path.native() + L"\" export").out);
    EXPECT_EQ(line["values"][0]["value"], std::numeric_limits<long long>::min());
    EXPECT_EQ(line["extra"], odd.extra);
}

TEST_F(OutboxSend, NeverRepeatsWhatWasRefusedAndHonoursRetryAfter) {
    Fill(3);
    std::vector<ULONGLONG> asked;  // when each request came
    Collector collector(
        [&](auto&) -> Collector::Behaviour {
            asked.push_back(::GetTickCount64());
            if (asked.size() == 1) return {Collector::Way::kAnswer, 400};
            if (asked.size() == 2) return {Collector::Way::kAnswer, 429, "Retry-After: 1\r\n"};
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
    std::optional<Collector> collector;
    collector.emplace([](auto&) { return Collector::Behaviour{Collector::Way::kAnswer, 503}; }, [](auto&) {});
    const auto run = Send(*collector, L"--attempts 3");
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(collector->Requests(), 3);
    const std::string url = collector->Url();
    collector.reset();
    EXPECT_EQ(RunTandorctl(L"outbox --file \"" + path.native() + L"\" send --attempts 2 --backoff 5 " +
                           tandor::WideFromUtf8(url))
                  .exit_code,
              1);
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
    const auto otlp = RunTandorctl(verb + L"export --otlp");
    Receive(otlp.out);
    EXPECT_EQ(received, identifiers);
    const json sent = json::parse(otlp.out)["resourceLogs"][0]["scopeLogs"][0]["logRecords"][0];
    EXPECT_NEAR(std::stod(sent["timeUnixNano"].get<std::string>()) / 1e9, static_cast<double>(std::time(nullptr)),
                3600);
    EXPECT_EQ(RunTandorctl(verb + L"show 77").exit_code, 1);
    EXPECT_EQ(RunTandorctl(verb + L"drop --older-than 1h").out, "0 records dropped\n");
    EXPECT_EQ(RunTandorctl(verb + L"drop --older-than 2000-01-31").out, "0 records dropped\n");
    EXPECT_EQ(RunTandorctl(verb + L"drop 1").exit_code, 0);
    EXPECT_EQ(Left().size(), 1u);
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
    const std::wstring line =
        L"outbox --file \"" + path.native() + L"\" send --attempts 1 " + std::wstring(url.begin(), url.end()) + L" ";
    EXPECT_EQ(RunTandorctl(line).exit_code, 1) << "nobody trusts that authority";
    EXPECT_EQ(Left().size(), 3u);
    const HostileCrypto configuration;  // nobody's configuration is read
    const ProgramRun run = RunTandorctl(line + L"--header \"x-fleet: 7\" --ca \"" + bundle.native() + L"\"");
    EXPECT_EQ(run.exit_code, 0) << run.out << run.error;
    EXPECT_EQ(received, identifiers);
    EXPECT_TRUE(Left().empty());
    EXPECT_NE(head.find("x-fleet: 7"), std::string::npos);
    EXPECT_EQ(RunTandorctl(L"outbox send ftp://127.0.0.1/").exit_code, 2);
}

}  // namespace
