#include <latch>
#include <regex>

#include "app/fetch_errors.h"
#include "support/https_world.h"
#include "support/loopback_server.h"
#include "support/testing.h"
#include "tandor/http_download.h"

namespace {

using namespace tandor::test;

struct Answer {
    int result = 0;
    std::string headers, body;
    HttpTransfer transfer;
};

Answer Request(const std::string& url, const std::string& body = "{}") {
    Answer answer;
    answer.result =
        HttpDownloadHelper::GetConfigDataFromServer(url, body, answer.headers, answer.body, answer.transfer);
    return answer;
}

class HttpsRequest : public testing::Test {
protected:
    std::unique_ptr<LoopbackServer> Serve(std::function<void(Exchange&)> handle, int threads = 4) const {
        ServerOptions options;
        options.identity = &server_;
        options.threads = threads;
        return std::make_unique<LoopbackServer>(options, std::move(handle));
    }

    HttpsWorld world_;
    Identity server_ = MakeServer(world_.authority, "IP:127.0.0.1");
};

TEST_F(HttpsRequest, SendsItsHeadersInOrderAndHandsTheAnswerBack) {
    const MachineText id(kSuiteKey, L"DeviceId", L"sn-\r\nX: 手机"), type(kSuiteKey, L"DeviceType", L"Modell Ü");
    std::vector<std::string> heads, bodies;
    const auto server = Serve([&](Exchange& exchange) {
        heads.push_back(exchange.head);
        bodies.push_back(exchange.body);
        exchange.Answer(R"({"name":"Lena 手机"})");
    });
    HostLog log;
    std::string headers = "kept ", body = "kept ";
    EXPECT_EQ(HttpDownloadHelper::GetConfigDataFromServer(server->Url(), R"({"q":"ü"})", headers, body), 0);
    EXPECT_EQ(body, "kept {\"name\":\"Lena 手机\"}");
    EXPECT_EQ(headers, "kept HTTP/1.1 200 OK\r\nX-Server: loopback\r\nContent-Length: 22\r\n\r\n");
    EXPECT_THAT(log.Take(), ElementsAre(L"3 productName: Modell Ü(HttpDownloadHelper::GetConfigDataFromServer)"));
    EXPECT_EQ(Request(server->Url(), "[]").result, 0);
    EXPECT_THAT(bodies, ElementsAre(R"({"q":"ü"})", "[]"));
    ASSERT_EQ(heads.size(), 2U);
    const auto first = LinesIn(heads[0]), second = LinesIn(heads[1]);
    ASSERT_EQ(first.size(), 10U);
    EXPECT_EQ(first[0], "POST /config HTTP/1.1");
    EXPECT_EQ(first[3] + "|" + first[4] + "|" + first[5],
              "Content-Type: application/json|appId: Pelora|sn: sn-X: 手机");
    const std::regex trace("traceid: [0-9A-F]{8}-[0-9A-F]{4}-[0-9a-f]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(first[6], trace)) << first[6];
    EXPECT_NE(first[6], second[6]);
    EXPECT_EQ(first[7], "DeviceType: Modell Ü");
    EXPECT_EQ(server->Connections(), 2);  // none is used again
}

TEST_F(HttpsRequest, GoesOnWithoutAProductName) {
    const MachineText type(kSuiteKey, L"DeviceType"), product(kBiosKey, L"SystemProductName");
    const MachineText board(kBiosKey, L"BaseBoardProduct");
    const auto server = Serve([](Exchange& exchange) { exchange.Answer("{}"); });
    HostLog log;
    EXPECT_EQ(Request(server->Url()).result, 0);
    EXPECT_EQ(log.Take(), LinesFrom(L"HttpDownloadHelper::GetConfigDataFromServer",
                                    {L"4 get product name failed", L"3 productName: "}));
}

TEST_F(HttpsRequest, ASmallCircleOfServersIsTrusted) {
    const Identity stranger = MakeAuthority("Nobody knows this one");
    const Identity others = MakeServer(world_.authority, "DNS:other.example");
    const Identity expired = MakeServer(world_.authority, "IP:127.0.0.1", {-1});
    const Identity early = MakeServer(world_.authority, "IP:127.0.0.1", {2, 1});
    const Identity rsa = MakeServer(world_.authority, "IP:127.0.0.1", {1, -2, true});
    const Identity itself = MakeSelfSigned("IP:127.0.0.1");
    const Identity unknown = MakeServer(stranger, "IP:127.0.0.1");
    struct Case {
        const char* what;
        ServerOptions options;
        int result = 0;
        const char* explained = "";  // to people
    };
    const Case cases[] = {
        {"TLS 1.3 alone", {&server_, TLS1_3_VERSION, TLS1_3_VERSION}},
        {"TLS 1.2 alone", {&server_, TLS1_2_VERSION, TLS1_2_VERSION}},
        {"no cipher in common", {&server_, TLS1_2_VERSION, TLS1_2_VERSION, "ECDHE-ECDSA-CHACHA20-POLY1305"}, 35},
        {"ECDHE with an RSA certificate", {&rsa, TLS1_2_VERSION, TLS1_2_VERSION, "ECDHE-RSA-AES256-GCM-SHA384"}},
        {"RSA key exchange alone", {&rsa, TLS1_2_VERSION, TLS1_2_VERSION, "AES256-GCM-SHA384"}, 35},
        {"CBC alone",
         {&server_, TLS1_2_VERSION, TLS1_2_VERSION, "ECDHE-ECDSA-AES256-SHA384"},
         35,
         "no cipher in common"},
        {"no certificate", {&rsa, TLS1_2_VERSION, TLS1_2_VERSION, "ADH-AES256-GCM-SHA384:@SECLEVEL=0"}, 35},
        {"another host's certificate", {&others}, 60, "is for another host"},
        {"unknown authority",
         {&unknown},
         60,
         "the authority that signed the server's certificate is not in the bundle"},
        {"expired", {&expired}, 60, "has expired"},
        {"not valid yet", {&early}, 60, "is not valid yet"},
        {"signed by itself", {&itself}, 60, "is signed by itself"},
    };
    for (const Case& c : cases) {
        LoopbackServer server(c.options, [](Exchange& exchange) { exchange.Answer("answer"); });
        const Answer answer = Request(server.Url());
        EXPECT_EQ(answer.result, c.result) << c.what;
        EXPECT_THAT(tandor::app::Explain(answer.transfer).cause, HasSubstr(c.explained)) << c.what;
        EXPECT_EQ(answer.transfer.error.empty(), c.result == 0) << c.what << answer.transfer.error;
        EXPECT_EQ(answer.body, c.result == 0 ? "answer" : "") << c.what;
        EXPECT_EQ(server.Requests(), c.result == 0 ? 1 : 0) << c.what;  // nothing was sent to a stranger
    }
}

TEST_F(HttpsRequest, AServerWithAnOlderProtocolOrNoneIsRefused) {
    Listener plain(1, [](SOCKET connection) {
        char sink[4096];
        ::recv(connection, sink, sizeof(sink), 0);
        ::send(connection, "HTTP/1.1 400 No\r\n\r\n", 19, 0);
    });
    const auto old = OldTlsServer();
    for (const auto& [port, text] :
         {std::pair{plain.Port(), "does not speak TLS"}, {old->Port(), "protocol is too old"}}) {
        const Answer answer = Request("https://127.0.0.1:" + std::to_string(port));
        EXPECT_EQ(answer.result, 35);
        EXPECT_THAT(tandor::app::Explain(answer.transfer).cause, HasSubstr(text));
    }
}

// For GetModuleFileNameW: a program whose path fills all of the buffer and is cut.
DWORD WINAPI CutPath(HMODULE, LPWSTR path, DWORD size) {
    std::wstring(L"C:\\" + std::wstring(size, L'p')).copy(path, size - 1);
    path[size - 1] = L'\0';
    return size;
}

TEST_F(HttpsRequest, WithoutItsBundleNothingIsTrusted) {
    const auto server = Serve([](Exchange& exchange) { exchange.Answer("answer"); });
    const std::filesystem::path path = HttpDownloadHelper::GetCaPath();
    EXPECT_EQ(path.native(), world_.bundle.native());
    const std::string bundle = ReadAll(world_.bundle);
    WriteAll(world_.bundle, "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    EXPECT_EQ(Request(server->Url()).result, 77);
    WriteAll(world_.bundle, "");
    EXPECT_EQ(Request(server->Url()).result, 77);
    std::filesystem::remove(world_.bundle);
    EXPECT_EQ(Request(server->Url()).result, 77);
    WriteAll(world_.bundle, bundle);
    {
        const ImportPatch patch(L"TandorUtil.dll", "GetModuleFileNameW", &CutPath);
        HostLog log;
        EXPECT_EQ(HttpDownloadHelper::GetCaPath(), "");
        EXPECT_EQ(log.Take(), LinesFrom(L"HttpDownloadHelper::GetCaPath", {L"4 PathAppendA faild filePath:C:\\"}));
        EXPECT_EQ(Request(server->Url()).result, 77);
    }
    EXPECT_EQ(server->Requests(), 0);
    EXPECT_EQ(Request(server->Url()).result, 0);
}

TEST_F(HttpsRequest, ALateAnswerIsWaitedForAndReportedAsLate) {
    const auto server = Serve([](Exchange& exchange) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5600));
        exchange.Answer("late");
    });
    const MachineText type(kSuiteKey, L"DeviceType", L"PC");
    HostLog log;
    const Answer answer = Request(server->Url());
    EXPECT_EQ(answer.result, -1);
    EXPECT_EQ(answer.transfer.code, 0);
    EXPECT_EQ(answer.body, "late");
    EXPECT_GT(answer.transfer.firstByte, 5.0);
    EXPECT_THAT(log.Take(),
                ElementsAre(L"3 productName: PC(HttpDownloadHelper::GetConfigDataFromServer)",
                            L"3 wait execut curl_easy_perform timeout (HttpDownloadHelper::ExecutCurlEasyPerform)"));
}

TEST_F(HttpsRequest, KeepsWhatArrivedBeforeTheConnectionBroke) {
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n";
    const auto server = Serve([&](Exchange& exchange) {
        exchange.Write(head + "the first half");
        exchange.Reset();
    });
    const Answer answer = Request(server->Url());
    EXPECT_THAT(answer.result, AnyOf(18, 56)) << answer.transfer.error;
    EXPECT_EQ(answer.transfer.status, 200);
    EXPECT_EQ(answer.body, "the first half");
    EXPECT_EQ(answer.headers, head);
    const int port = [] { return Listener(0, nullptr).Port(); }();
    EXPECT_EQ(Request("https://127.0.0.1:" + std::to_string(port)).result, 7);
    EXPECT_EQ(Request("").result, 3);
}

TEST_F(HttpsRequest, TakesWhatServersSayWithinBounds) {
    struct Case {
        const char* what;
        std::string answer;
        int result;
        long status;
        std::string body;
    };
    const Case cases[] = {
        {"an error with a text", "HTTP/1.1 500 No\r\nContent-Length: 4\r\n\r\noops", 0, 500, "oops"},
        {"elsewhere", "HTTP/1.1 302 Go\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n", 0, 302, ""},
        {"endless headers", "HTTP/1.1 200 OK\r\n" + std::string(1 << 20, 'h') + ": x\r\n\r\n", 27, 0, ""},
    };
    for (const Case& c : cases) {
        const auto server = Serve([&](Exchange& exchange) { exchange.Write(c.answer); });
        const Answer answer = Request(server->Url());
        EXPECT_EQ(answer.result, c.result) << c.what << ": " << answer.transfer.error;
        if (c.result == 0) {
            EXPECT_EQ(answer.transfer.status, c.status) << c.what;
        }
        EXPECT_EQ(answer.body, c.body) << c.what;
        EXPECT_EQ(server->Requests(), 1) << c.what;
    }
    // Header lines, each of them short, without end; and a body without end.
    for (const bool body : {false, true}) {
        const auto server = Serve([&](Exchange& exchange) {
            exchange.Write(body ? "HTTP/1.1 200 OK\r\n\r\n" : "HTTP/1.1 200 OK\r\n");
            const std::string piece = body ? std::string(1 << 16, 'b') : "X-More: " + std::string(1000, 'm') + "\r\n";
            while (exchange.Write(piece)) continue;
        });
        Answer answer;
        if (body) answer.body.resize(126 << 20);  // counts: what is left is small
        HttpDownloadHelper::GetConfigDataFromServer(server->Url(), "{}", answer.headers, answer.body, answer.transfer);
        EXPECT_EQ(answer.transfer.code, body ? 23 : 56) << answer.transfer.error;
        EXPECT_LE(answer.body.size(), std::size_t{128} << 20);
        if (body) {
            EXPECT_GT(answer.body.size(), std::size_t{127} << 20);
        }
        EXPECT_LE(answer.headers.size(), std::size_t{1} << 20);
    }
}

TEST_F(HttpsRequest, CarriesLargeBodiesWholeAndInPieces) {
    std::string large(64 << 20, '\0');
    for (std::size_t i = 0; i < large.size(); i += 4096) large[i] = static_cast<char>(i >> 12);
    const auto server = Serve([&](Exchange& exchange) {
        if (exchange.body == "pieces") {
            exchange.Write("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
            for (const char* piece : {"3\r\none", "\r\n", "5\r\n, t", "wo\r\n", "0\r\n\r\n"}) exchange.Write(piece);
        } else {
            exchange.Answer(exchange.body == "large" ? large : std::to_string(exchange.body.size()));
        }
    });
    EXPECT_EQ(Request(server->Url(), "pieces").body, "one, two");
    EXPECT_EQ(Request(server->Url(), std::string(3 << 20, 'x')).body, std::to_string(3 << 20));
    std::pair<std::size_t, std::size_t> told;
    Answer answer;
    answer.transfer.progress = [&](unsigned long long received, unsigned long long total) {
        told = {received, total};
        return true;
    };
    const auto request = [&] {
        return HttpDownloadHelper::GetConfigDataFromServer(server->Url(), "large", answer.headers, answer.body,
                                                           answer.transfer);
    };
    request();
    EXPECT_EQ(answer.transfer.code, 0);  // a busy machine may take longer than five seconds
    EXPECT_TRUE(answer.body == large);
    EXPECT_EQ(told, std::pair(large.size(), large.size()));
    for (const bool throws : {false, true}) {
        answer.transfer.progress = [throws](unsigned long long received, unsigned long long) {
            if (received > 0 && throws) throw std::runtime_error("enough");
            return received == 0;
        };
        EXPECT_EQ(request(), 42);
    }
}

TEST_F(HttpsRequest, GoesThroughTheSystemsProxyAndLogsNothingOfIt) {
    TunnelProxy proxy;
    const auto server = Serve([](Exchange& exchange) { exchange.Answer("answer-geheim"); });
    HttpsWorld::SetSystemProxy("http=127.0.0.1:9;https=lena:geheim@127.0.0.1:" + std::to_string(proxy.Port()));
    HostLog log;
    const Answer answer = Request(server->Url(), R"({"password":"geheim"})");
    EXPECT_EQ(answer.result, 0) << answer.transfer.error;
    EXPECT_EQ(answer.body, "answer-geheim");
    EXPECT_THAT(answer.headers, HasSubstr("Connection established"));
    ASSERT_EQ(proxy.Heads().size(), 1U);
    EXPECT_THAT(proxy.Heads()[0], HasSubstr("Proxy-Authorization: Basic "));
    HttpsWorld::SetSystemProxy("");
    EXPECT_EQ(Request(server->Url()).result, 0);
    EXPECT_EQ(proxy.Heads().size(), 1U);
    EXPECT_THAT(log.Take(), Each(Not(AnyOf(HasSubstr(L"geheim"), HasSubstr(L"127.0.0.1")))));
}

TEST_F(HttpsRequest, AHundredAtOnceKeepTheirAnswersApart) {
    constexpr int kRequests = 100;
    std::latch all_there(kRequests);
    const auto server = Serve(
        [&](Exchange& exchange) {
            all_there.arrive_and_wait();
            exchange.Answer("answer to " + exchange.body);
        },
        kRequests);
    std::vector<Answer> answers(kRequests);
    InThreads(kRequests,
              [&](int i) { answers[static_cast<std::size_t>(i)] = Request(server->Url(), std::to_string(i)); });
    for (int i = 0; i < kRequests; ++i) {
        const Answer& answer = answers[static_cast<std::size_t>(i)];
        EXPECT_EQ(answer.transfer.code, 0) << answer.transfer.error;
        EXPECT_EQ(answer.body, "answer to " + std::to_string(i));
    }
}

TEST_F(HttpsRequest, LeavesNothingBehind) {
    const auto server = Serve([](Exchange& exchange) { exchange.Answer("{}"); });
    const auto round = [&](int calls) {
        for (int i = 0; i < calls; ++i) ASSERT_EQ(Request(server->Url()).transfer.code, 0);
    };
    round(30);
    const LeakWatch watch;
    const std::size_t committed = PrivateBytesOfThisProcess();
    const auto calls = static_cast<int>(Amount("TANDOR_STRESS_REQUESTS", 150));
    round(calls);
    watch.ExpectNoMoreThan(5);
    EXPECT_LE(PrivateBytesOfThisProcess(), committed + static_cast<std::size_t>(calls) * 3 * 1024);
}

TEST(HttpDownloadHelper, CallbackAppendsOrEndsTheTransfer) {
    constexpr auto kEnd = static_cast<std::size_t>(-1);
    std::string out = "a";
    char data[] = "bcdefg";
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data, 1, 3, &out), 3U);
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data + 3, 2, 1, &out), 1U);  // the count, not the bytes
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data, 1, 0, &out), 0U);
    EXPECT_EQ(out, "abcdef");
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(nullptr, 1, 3, &out), kEnd);
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data, 1, 3, nullptr), kEnd);
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data, 16, kEnd / 8, &out), kEnd);
    EXPECT_EQ(HttpDownloadHelper::OnWriteDataForUpdate(data, 1, (128 << 20) - 5, &out), kEnd);  // one too many
    EXPECT_EQ(out, "abcdef");
    HttpDownloadHelper::SetProxy(nullptr);
    EXPECT_EQ(HttpDownloadHelper::ExecutCurlEasyPerform(nullptr, nullptr), 43);
}

}  // namespace
