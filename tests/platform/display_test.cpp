#include "platform/process.h"

#include "support/temporary_directory.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// A display server that answers each connection's first request as `answer` says; with none it never does.
class Server {
public:
    explicit Server(std::function<std::string(const std::string& request)> answer) {
        listener_ = socket(AF_UNIX, SOCK_STREAM, 0);
        for (number_ = 30000; !bindTo(number_) && number_ < 40000; number_++)
            ;
        listen(listener_, 8);
        if (!answer) return;
        thread_ = std::thread([this, answer = std::move(answer)] {
            for (int peer; (peer = accept(listener_, nullptr, nullptr)) >= 0; close(peer)) {
                char request[256];
                const ssize_t size = recv(peer, request, sizeof(request), 0);
                const std::string text = answer({request, static_cast<size_t>(size < 0 ? 0 : size)});
                send(peer, text.data(), text.size(), MSG_NOSIGNAL);
            }
        });
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        shutdown(listener_, SHUT_RDWR);
        if (thread_.joinable()) thread_.join();
        close(listener_);
    }
    std::string number() const { return std::to_string(number_); }

private:
    bool bindTo(int number) const {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const std::string name = "/tmp/.X11-unix/X" + std::to_string(number);
        memcpy(address.sun_path + 1, name.data(), name.size());
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        return bind(listener_, reinterpret_cast<const sockaddr*>(&address), size) == 0;
    }
    int listener_, number_;
    std::thread thread_;
};

class Display : public testing::Test {
protected:
    void SetUp() override { setenv("XAUTHORITY", (directory.path() + "/authority").c_str(), 1); }
    static int askWith(const std::string& display) {
        setenv("DISPLAY", display.c_str(), 1);
        return qbProcessHasDisplay();
    }
    TemporaryDirectory directory;
};

} // namespace

TEST_F(Display, IsAbsentWithoutAServer) {
    unsetenv("DISPLAY");
    EXPECT_EQ(qbProcessHasDisplay(), 0);
    for (const char* name :
         {"", "junk", ":", ":x", ":1x", ":-1", ":99999", ":29999", "unix:29999.0", "[::1]:59000"})
        EXPECT_EQ(askWith(name), 0) << name;
}

TEST_F(Display, AnswersUnderEachFormOfItsName) {
    const Server server([](const std::string& request) {
        // Byte order, a blank, version 11.0 and no authority: 12 bytes.
        return request == std::string("l\0\x0B\0\0\0\0\0\0\0\0\0", 12) ? "\x01" : "";
    });
    for (const std::string form : {":", "unix:", "unix/host:"})
        for (const char* screen : {"", ".0"})
            EXPECT_EQ(askWith(form + server.number() + screen), 1) << form << screen;
}

TEST_F(Display, IsAbsentWhenTheServerRefusesHangsOrHangsUp) {
    const Server refusing([](const std::string&) { return std::string("\0", 1); });
    const Server silent(nullptr);
    const Server closing([](const std::string&) { return std::string(); });
    for (const Server* server : {&refusing, &silent, &closing})
        EXPECT_EQ(askWith(":" + server->number()), 0);
}

TEST_F(Display, OffersEveryCookieOfTheDisplay) {
    std::vector<std::string> cookies;
    const Server server([&](const std::string& request) {
        cookies.push_back(request.size() == 48 ? request.substr(32) : ""); // 12 bytes, the scheme's 18 in 20
        return cookies.back() == "rightrightright1" ? std::string("\x01") : std::string("\0", 1);
    });
    // Of this machine: each field has its length ahead.
    const auto entry = [](const std::string& number, const std::string& scheme, const std::string& cookie) {
        std::string text("\x01\x00", 2);
        for (const std::string& field : {std::string("host"), number, scheme, cookie})
            text += std::string{'\0', static_cast<char>(field.size())} + field;
        return text;
    };
    const std::string scheme = "MIT-MAGIC-COOKIE-1";
    const std::string file = entry("1", scheme, "otherotherother1") +
                             entry(server.number(), "XDM", "not this one at ") +
                             entry(server.number(), scheme, "wrongwrongwrong1") +
                             entry(server.number(), scheme, "rightrightright1");
    directory.write("authority", file);
    EXPECT_EQ(askWith(":" + server.number()), 1);
    EXPECT_EQ(cookies, (std::vector<std::string>{"wrongwrongwrong1", "rightrightright1"}));

    directory.write("authority", file.substr(0, file.size() - 1)); // damaged
    EXPECT_EQ(askWith(":" + server.number()), 0);
    EXPECT_EQ(cookies.back(), ""); // last of all without one
}
