#pragma once

#include <unistd.h>

#include <string>
#include <system_error>
#include <utility>

namespace zorel::cli {

// Throws std::system_error of `error`, an errno value; its text begins with `path`.
[[noreturn]] inline void ThrowSystemError(const std::string& path, int error) {
    throw std::system_error(error, std::generic_category(), path);
}

// Owns a file descriptor; -1 means none.
class CDescriptor {
public:
    CDescriptor() = default;
    explicit CDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~CDescriptor() { Close(); }
    CDescriptor(CDescriptor&& other) noexcept : m_descriptor(other.Detach()) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept {
        if (this != &other) {
            Close();
            m_descriptor = other.Detach();
        }
        return *this;
    }

    int Get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }
    int Detach() { return std::exchange(m_descriptor, -1); }
    // The result of close(2); 0 when there is no descriptor.
    int Close() {
        const int descriptor = Detach();
        return descriptor >= 0 ? ::close(descriptor) : 0;
    }

private:
    int m_descriptor = -1;
};

}  // namespace zorel::cli
