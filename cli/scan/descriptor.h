#pragma once

#include <unistd.h>

#include <utility>

namespace zorel::tools {

// Owns a file descriptor; -1 stands for none.
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
    // The result of close(2), whose errors matter after writing; 0 when there is none.
    int Close() {
        const int descriptor = Detach();
        return descriptor >= 0 ? ::close(descriptor) : 0;
    }

private:
    int m_descriptor = -1;
};

}  // namespace zorel::tools
