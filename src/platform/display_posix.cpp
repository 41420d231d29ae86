#include "platform/descriptor_posix.h"
#include "platform/process.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

// Asks an X server for a connection and reads the first byte of its answer, with a time limit at each step:
// the X library itself would wait for ever on a server that is stuck.

namespace {

enum { ANSWER_TIMEOUT = 2000 /* milliseconds */, COOKIES_MAX = 16, TCP_PORT_BASE = 6000, SETUP_SUCCESS = 1 };

// A refusal may be the cookie's fault; with no answer at all, asking again would only wait again.
enum class Answer { none, refused, accepted };

// $DISPLAY: [host]:number[.screen]
struct DisplayName {
    std::string host; // empty for this machine
    int number = 0;
};

} // namespace

static bool parseDisplay(std::string_view text, DisplayName& display) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return false;
    std::string_view host = text.substr(0, colon);
    if (const size_t slash = host.find('/'); slash != std::string_view::npos && slash > 0)
        host = host.substr(0, slash) == "unix" ? "" : host.substr(slash + 1); // "tcp/host", "unix/host"
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    display.host = host == "unix" ? "" : host;

    const std::string_view number = text.substr(colon + 1);
    const auto end = std::from_chars(number.data(), number.data() + number.size(), display.number);
    const bool whole = end.ptr == number.data() + number.size() || *end.ptr == '.';
    return end.ec == std::errc() && whole && display.number >= 0 && display.number < 65536 - TCP_PORT_BASE;
}

// --- connecting -----------------------------------------------------------------------------------------

static bool waitFor(int descriptor, short events) {
    pollfd entry = {descriptor, events, 0};
    return poll(&entry, 1, ANSWER_TIMEOUT) > 0;
}

static QbDescriptor connectTo(int family, const sockaddr* address, socklen_t length) {
    QbDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket.number() < 0) return socket;
    if (connect(socket.number(), address, length) == 0) return socket;
    if (errno != EINPROGRESS || !waitFor(socket.number(), POLLOUT)) return QbDescriptor();
    int error = 0;
    socklen_t size = sizeof(error);
    if (getsockopt(socket.number(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0)
        return QbDescriptor();
    return socket;
}

// The abstract name, which has a zero in front and needs no file, is tried first, as the X library does.
static QbDescriptor connectLocal(int number) {
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const auto base = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path));
    const auto length = static_cast<socklen_t>(base + path.size() + 1);

    memcpy(address.sun_path + 1, path.data(), path.size());
    QbDescriptor socket = connectTo(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), length);
    if (socket.number() >= 0) return socket;
    memset(address.sun_path, 0, sizeof(address.sun_path));
    memcpy(address.sun_path, path.data(), path.size());
    return connectTo(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), length);
}

static QbDescriptor connectRemote(const DisplayName& display) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const std::string port = std::to_string(TCP_PORT_BASE + display.number);
    if (getaddrinfo(display.host.c_str(), port.c_str(), &hints, &list) != 0) return QbDescriptor();
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(list, freeaddrinfo);
    for (const addrinfo* entry = list; entry; entry = entry->ai_next) {
        QbDescriptor socket = connectTo(entry->ai_family, entry->ai_addr, entry->ai_addrlen);
        if (socket.number() >= 0) return socket;
    }
    return QbDescriptor();
}

// --- authority file -------------------------------------------------------------------------------------

// Each entry: family (2 bytes), then address, display number, scheme and cookie, each with a 2-byte length
// ahead; all numbers with the high byte first.
static bool readField(std::FILE* file, std::string& field) {
    const int high = fgetc(file);
    const int low = fgetc(file);
    if (high == EOF || low == EOF) return false;
    field.resize(static_cast<size_t>(high) * 256 + static_cast<size_t>(low));
    return fread(field.data(), 1, field.size(), file) == field.size();
}

// The cookies for this display number, whatever machine they name: a wrong one costs one refusal.
static std::vector<std::string> readCookies(const DisplayName& display) {
    std::string path;
    if (const char* name = getenv("XAUTHORITY"); name && *name)
        path = name;
    else if (const char* home = getenv("HOME"); home && *home)
        path = std::string(home) + "/.Xauthority";
    std::vector<std::string> cookies;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> owner(
        path.empty() ? nullptr : fopen(path.c_str(), "rb"), fclose);
    std::FILE* file = owner.get();
    if (!file) return cookies;
    const std::string number = std::to_string(display.number);
    std::array<std::string, 4> fields; // address, number, scheme, cookie
    while (cookies.size() < COOKIES_MAX && fgetc(file) != EOF && fgetc(file) != EOF) {
        bool whole = true;
        for (std::string& field : fields)
            whole = whole && readField(file, field);
        if (!whole) break;
        if ((fields[1].empty() || fields[1] == number) && fields[2] == "MIT-MAGIC-COOKIE-1")
            cookies.push_back(fields[3]);
    }
    return cookies;
}

// --- asking ---------------------------------------------------------------------------------------------

static void appendPadded(std::string& request, std::string_view text) {
    request += text;
    request.append((4 - text.size() % 4) % 4, '\0');
}

static void appendNumber(std::string& request, size_t value) {
    request += static_cast<char>(value & 0xFF);
    request += static_cast<char>(value >> 8 & 0xFF);
}

// The first request of the X protocol, version 11.0, low byte first.
static std::string setupRequest(std::string_view cookie) {
    const std::string_view scheme = cookie.empty() ? "" : "MIT-MAGIC-COOKIE-1";
    std::string request("l\0", 2);
    for (const size_t value : {size_t{11}, size_t{0}, scheme.size(), cookie.size(), size_t{0}})
        appendNumber(request, value);
    appendPadded(request, scheme);
    appendPadded(request, cookie);
    return request;
}

static Answer ask(const DisplayName& display, std::string_view cookie) {
    const QbDescriptor socket = display.host.empty() ? connectLocal(display.number) : connectRemote(display);
    if (socket.number() < 0) return Answer::none;
    const std::string request = setupRequest(cookie);
    const ssize_t sent = send(socket.number(), request.data(), request.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(request.size()) || !waitFor(socket.number(), POLLIN))
        return Answer::none;
    uint8_t answer = 0;
    if (recv(socket.number(), &answer, 1, 0) != 1) return Answer::none;
    return answer == SETUP_SUCCESS ? Answer::accepted : Answer::refused;
}

int qbProcessHasDisplay() {
    const char* text = getenv("DISPLAY");
    DisplayName display;
    if (!text || !parseDisplay(text, display)) return 0;
    std::vector<std::string> cookies = readCookies(display);
    cookies.emplace_back(); // last without one: the server may let this user in by name
    for (const std::string& cookie : cookies) {
        const Answer answer = ask(display, cookie);
        if (answer != Answer::refused) return answer == Answer::accepted ? 1 : 0;
    }
    return 0;
}
