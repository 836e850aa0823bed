// TextBuf.h — a scratch byte buffer of the string code: on the stack while short (not installed).
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace StrImplementation {

// A byte buffer on the stack that moves to the heap when it must grow; always zero-terminated.
class TextBuf {
public:
    TextBuf() { local_[0] = 0; }
    // Room for `bytes` bytes at once; throws std::bad_alloc when the heap cannot give it.
    explicit TextBuf(std::size_t bytes) : TextBuf() {
        if (!Reserve(bytes))
            throw std::bad_alloc();
    }
    ~TextBuf() {
        if (data_ != local_)
            std::free(data_);
    }
    TextBuf(const TextBuf&) = delete;
    TextBuf& operator=(const TextBuf&) = delete;

    char* data() { return data_; }
    std::size_t size() const { return size_; }
    std::size_t capacity() const { return cap_; }

    // Makes room for n bytes, keeping the contents; false when the heap cannot.
    bool Reserve(std::size_t n) {
        if (n <= cap_)
            return true;
        char* p = static_cast<char*>(std::malloc(n));
        if (!p)
            return false;
        std::memcpy(p, data_, size_ + 1);
        if (data_ != local_)
            std::free(data_);
        data_ = p;
        cap_ = n;
        return true;
    }
    void Push(char c) {
        if (size_ + 2 > cap_ && !Reserve(cap_ * 2))
            throw std::bad_alloc();
        data_[size_++] = c;
        data_[size_] = 0;
    }
    void SetSize(std::size_t n) {
        size_ = n;
        data_[n] = 0;
    }

private:
    char local_[128];
    char* data_ = local_;
    std::size_t cap_ = sizeof(local_);
    std::size_t size_ = 0;
};

} // namespace StrImplementation
