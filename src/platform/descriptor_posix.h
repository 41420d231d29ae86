#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

// An open file of the system, closed with the object; errno stays as it is.
class QbDescriptor {
public:
    explicit QbDescriptor(int number = -1) : number_(number) {}
    QbDescriptor(QbDescriptor&& other) noexcept : number_(other.release()) {}
    QbDescriptor(const QbDescriptor&) = delete;
    QbDescriptor& operator=(const QbDescriptor&) = delete;
    ~QbDescriptor() { reset(); }

    int number() const { return number_; } // -1 when nothing is open
    // False with errno when the system could not write everything.
    bool close() {
        if (number_ < 0) return true;
        const int result = ::close(release());
        return result == 0 || errno == EINTR; // it is closed in either case
    }
    int release() { return std::exchange(number_, -1); } // the caller closes it from now on
    void reset(int number = -1) {
        const int error = errno;
        close();
        errno = error;
        number_ = number;
    }

private:
    int number_;
};
