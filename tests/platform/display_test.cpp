#include "platform/process.h"

#include "support/temporary_directory.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

// What qbProcessHasDisplay says to a server that answers each connection's first request as `answer` says,
// and closes it behind an empty answer; without `answer` it never says anything.
static int ask(const char* form, const std::function<std::string(const std::string& request)>& answer,
               const std::function<void(int number)>& prepare = nullptr) {
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    int number = 30000;
    for (socklen_t size = 0; number < 40000; number++) {
        const std::string name = "/tmp/.X11-unix/X" + std::to_string(number);
        memcpy(address.sun_path + 1, name.data(), name.size());
        size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        if (bind(listener, reinterpret_cast<const sockaddr*>(&address), size) == 0) break;
    }
    listen(listener, 8);
    std::thread thread([&] {
        char request[256];
        for (int peer; answer && (peer = accept(listener, nullptr, nullptr)) >= 0; close(peer)) {
            const ssize_t size = recv(peer, request, sizeof(request), 0);
            const std::string text = answer({request, static_cast<size_t>(size < 0 ? 0 : size)});
            send(peer, text.data(), text.size(), MSG_NOSIGNAL);
        }
    });
    if (prepare) prepare(number);
    setenv("DISPLAY", (form + std::to_string(number) + ".0").c_str(), 1);
    const int result = qbProcessHasDisplay();
    shutdown(listener, SHUT_RDWR);
    thread.join();
    close(listener);
    return result;
}

static const std::string ACCEPTED = "\x01", REFUSED = std::string("\0", 1);

TEST(Display, IsThereWhenAServerAccepts) {
    setenv("XAUTHORITY", "none", 1);
    const auto accept = [](const std::string& request) {
        // Byte order, a blank, version 11.0 and no authority: 12 bytes.
        return request == std::string("l\0\x0B\0\0\0\0\0\0\0\0\0", 12) ? ACCEPTED : "";
    };
    for (const char* form : {":", "unix:", "unix/host:"})
        EXPECT_EQ(ask(form, accept), 1) << form;
    EXPECT_EQ(ask(":", [](const std::string&) { return REFUSED; }), 0);
    EXPECT_EQ(ask(":", [](const std::string&) { return std::string(); }), 0);
    EXPECT_EQ(ask(":", nullptr), 0); // hangs
    for (const char* name : {"", "junk", ":", ":x", ":1x", ":-1", ":99999", ":29999", "[::1]:59000"}) {
        setenv("DISPLAY", name, 1);
        EXPECT_EQ(qbProcessHasDisplay(), 0) << name;
    }
}

TEST(Display, OffersEveryCookieOfTheDisplay) {
    const TemporaryDirectory directory;
    setenv("XAUTHORITY", "authority", 1);
    for (const size_t missing : {0, 1}) { // of the last entry
        std::string cookies;
        const auto answer = [&](const std::string& request) {
            const std::string cookie = request.size() == 48 ? request.substr(32) : ""; // 12 bytes, 18 in 20
            cookies += cookie + ";";
            return cookie == "rightrightright1" ? ACCEPTED : REFUSED;
        };
        const int result = ask(":", answer, [&](int number) {
            std::string file; // of this machine: each field has its length ahead
            for (const char* cookie : {"otherotherother1", "wrongwrongwrong1", "rightrightright1"}) {
                file += std::string("\x01\x00", 2);
                for (const std::string& field :
                     {std::string("host"), std::to_string(*cookie == 'o' ? 1 : number),
                      std::string("MIT-MAGIC-COOKIE-1"), std::string(cookie)})
                    file += std::string{'\0', static_cast<char>(field.size())} + field;
            }
            directory.write("authority", file.substr(0, file.size() - missing));
        });
        EXPECT_EQ(result, missing ? 0 : 1);
        EXPECT_EQ(cookies, missing ? "wrongwrongwrong1;;" : "wrongwrongwrong1;rightrightright1;");
    }
}
