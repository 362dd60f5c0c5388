// Every allocation of a call may fail: the call then says so and leaves nothing behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>

#include "platform/com_ptr.h"
#include "support/automation_check.h"
#include "support/index_file_builder.h"
#include "support/temp_folder.h"

namespace {

// Allocations of this thread until one fails; negative: none does.
thread_local long g_allocationsLeft = -1;

bool NextAllocationFails() {
    if (g_allocationsLeft < 0) {
        return false;
    }
    return g_allocationsLeft == 0 || --g_allocationsLeft == 0;
}

void* Allocate(std::size_t size) {
    return NextAllocationFails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
    void* memory = Allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using platform::CComPtr;
using support::Bstr;

// Runs `call` with its first, second, … allocation failing until it succeeds.
void FailEveryAllocation(const char* label, const std::function<HRESULT()>& call) {
    SCOPED_TRACE(label);
    constexpr long kMost = 5000;
    for (long k = 1; k < kMost; ++k) {
        g_allocationsLeft = k;
        const HRESULT hr = call();
        g_allocationsLeft = -1;
        const std::u16string description = support::TakeError().description;
        if (hr == S_OK) {
            EXPECT_GT(k, 1) << "the call allocates nothing";
            return;
        }
        ASSERT_EQ(hr, E_OUTOFMEMORY) << "allocation " << k;
        // The error information itself may be what there is no memory for.
        ASSERT_TRUE(description.empty() ||
                    description.find(u"There is not enough memory") != description.npos ||
                    description.find(u"0x8007000e") != description.npos);
    }
    FAIL() << "never succeeds";
}

TEST(MemoryFailure, EveryAllocationOfEveryCall) {
    const support::CTempFolder folder;
    std::ofstream(folder.Native(u"C.dat"), std::ios::binary) << support::SmallVolume().Bytes();
    const auto path = Bstr(folder.Path(u"C.dat"));
    const auto root = Bstr(u"C:");
    const auto endings = Bstr(u".txt");
    CComPtr<IOibIdxLib> library;
    FailEveryAllocation(
        "create", [&] { return ::CreateOibIdxLib(nullptr, &IID_IOibIdxLib, library.PutVoid()); });
    CComPtr<IOibDFBrowser> browser;
    FailEveryAllocation("browse", [&] { return library->BrowseOibDF(path.Get(), browser.Put()); });
    FailEveryAllocation("folders", [&] {
        platform::CSafeArrayPtr folders;
        return browser->GetFolders(root.Get(), folders.Put());
    });
    FailEveryAllocation("files", [&] {
        CComPtr<IOibFilesArray> files;
        return browser->GetFilesEx(root.Get(), VARIANT_TRUE, endings.Get(), files.Put());
    });
    browser = nullptr;
    library = nullptr;
    EXPECT_EQ(::DllCanUnloadNow(), S_OK);
}

@ @