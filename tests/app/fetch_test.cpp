#include <nlohmann/json.hpp>

#include "app/program_copy.h"
#include "support/hostile_crypto.h"
#include "support/https_world.h"
#include "support/loopback_server.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;
using nlohmann::json;

class Fetch : public testing::Test {
protected:
    static std::wstring Line(const LoopbackServer& server, const wchar_t* options = L"") {
        const std::string url = server.Url();
        return L"fetch " + std::wstring(url.begin(), url.end()) + L" --body - " + options;
    }

    HttpsWorld world_;
    Identity identity_ = MakeServer(world_.authority, "IP:127.0.0.1");
};

TEST_F(Fetch, ShowsTheAnswerAndTriesAgainOnRequest) {
    std::atomic<int> calls = 0;
    LoopbackServer server({&identity_}, [&](Exchange& exchange) {
        if (++calls % 3 == 0) return exchange.Answer("{\"answer\":\"手机\"}");
        const std::string status = calls % 3 == 1 ? "503 Busy" : "429 Slower";
        exchange.Write("HTTP/1.1 " + status + "\r\nRetry-After: 0\r\nContent-Length: 0\r\n\r\n");
    });
    const ProgramRun busy = RunTandorctl(Line(server), "{}");
    EXPECT_EQ(busy.exit_code, 1);
    EXPECT_THAT(busy.error, HasSubstr("the server answered with status 503; try again later"));
    calls = 0;
    const ProgramRun run = RunTandorctl(Line(server, L"--retries 2 --json"), "{}");
    EXPECT_EQ(run.exit_code, 0) << run.error;
    EXPECT_THAT(run.error, AllOf(HasSubstr("attempt 1: "), HasSubstr("attempt 2: ")));
    const json answer = json::parse(run.out);
    EXPECT_EQ(answer["attempts"], 3);
    EXPECT_EQ(answer["status"], 200);
    EXPECT_EQ(answer["body"], "{\"answer\":\"手机\"}");
    EXPECT_GT(answer["seconds"]["tls_handshake"], answer["seconds"]["connect"]);
}

TEST_F(Fetch, ExplainsWhyAServerIsNotTrustedAndDoesNotAskAgain) {
    const Identity others = MakeServer(world_.authority, "DNS:other.example");
    LoopbackServer wrong_host({&others}, nullptr);
    const ProgramRun run = RunTandorctl(Line(wrong_host, L"--retries 3"), "{}");
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_THAT(run.error, AllOf(HasSubstr("certificate is for another host"), Not(HasSubstr("attempt 1:"))));
    std::filesystem::remove(world_.bundle);
    EXPECT_THAT(RunTandorctl(Line(wrong_host), "{}").error, HasSubstr("the bundle of trusted authorities is missing"));
    const ProgramRun half = RunTandorctl(L"fetch config.example --body -", "{}");
    EXPECT_EQ(half.exit_code, 2);
    EXPECT_THAT(half.error, HasSubstr("write it whole"));
    EXPECT_THAT(RunTandorctl(Line(wrong_host), std::string("{\0}", 3)).error, HasSubstr("zero byte"));
}

TEST_F(Fetch, SaysOnRequestThatTheAnswerCameLate) {
    LoopbackServer server({&identity_}, [](Exchange& exchange) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5600));
        exchange.Answer("{}");
    });
    const ProgramRun run = RunTandorctl(Line(server, L"--timeout-note"), "{}");
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_THAT(run.error, HasSubstr("longer than the five that callers of the library wait"));
}

// A copy of the program in a folder with other letters, and a configuration file of the cryptographic library that
// would end every handshake.
TEST_F(Fetch, FindsItsBundleAnywhereAndReadsNobodysConfiguration) {
    LoopbackServer server({&identity_}, [](Exchange& exchange) { exchange.Answer("{}"); });
    const ProgramCopy program;
    std::filesystem::copy_file(world_.bundle, program.Folder() / L"config" / L"cacert.pem");
    std::filesystem::remove(world_.bundle);
    const tandor::test::HostileCrypto configuration;
    const ProgramRun run = program.Run(Line(server), "{}");
    EXPECT_EQ(run.exit_code, 0) << run.error;
    EXPECT_EQ(run.out, "{}");
}

}  // namespace
