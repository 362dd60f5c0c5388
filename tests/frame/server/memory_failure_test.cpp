// Lets every allocation of a call fail: the call must report it and free everything.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>

#include "automation/com_ptr.h"
#include "support/index_file_builder.h"
#include "support/search_client.h"

namespace {

// The number of allocations of this thread until one fails; negative: none fails.
thread_local long g_allocationsLeft = -1;
thread_local bool g_laterOnesFail = true;

void* Allocate(std::size_t size) {
    const bool fails =
        g_allocationsLeft == 0 || (g_allocationsLeft > 0 && --g_allocationsLeft == 0);
    g_allocationsLeft = fails && !g_laterOnesFail ? -1 : g_allocationsLeft;
    return fails ? nullptr : std::malloc(size == 0 ? 1 : size);
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
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using automation::CComPtr;
using support::Bstr;

// Runs `call` with its first, second, … allocation failing until it succeeds.
void FailEveryAllocation(const char* label, const std::function<HRESULT()>& call) {
    SCOPED_TRACE(label);
    constexpr long kMaxAllocations = 5000;
    for (long k = 1; k < kMaxAllocations; ++k) {
        g_allocationsLeft = k;
        const HRESULT hr = call();
        g_allocationsLeft = -1;
        const std::u16string description = support::TakeError().description;
        if (hr == S_OK) {
            EXPECT_GT(k, 1) << "the call allocates nothing";
            return;
        }
        ASSERT_EQ(hr, E_OUTOFMEMORY) << "allocation " << k;
        // The failed allocation may be that of the error information.
        ASSERT_TRUE(description.empty() ||
                    description.find(u"There is not enough memory") != description.npos ||
                    description.find(u"0x8007000e") != description.npos);
    }
    FAIL() << "never succeeds";
}

class MemoryFailure : public support::SearchTest {
protected:
    ~MemoryFailure() override {
        m_lib = nullptr;
        EXPECT_EQ(::DllCanUnloadNow(), S_OK);
    }
};

TEST_F(MemoryFailure, EveryAllocationOfEveryCall) {
    const auto path = Bstr(Write(u"C.dat", support::SmallVolume().Bytes()));
    const auto root = Bstr(u"C:");
    const auto endings = Bstr(u".txt");
    FailEveryAllocation(
        "create", [&] { return support::CreateLibrary(nullptr, IID_IOibIdxLib, m_lib.PutVoid()); });
    CComPtr<IOibDFBrowser> browser;
    FailEveryAllocation("browse", [&] { return m_lib->BrowseOibDF(path.Get(), browser.Put()); });
    FailEveryAllocation("folders", [&] {
        automation::CSafeArrayPtr folders;
        return browser->GetFolders(root.Get(), folders.Put());
    });
    FailEveryAllocation("files", [&] {
        CComPtr<IOibFilesArray> files;
        return browser->GetFilesEx(root.Get(), VARIANT_TRUE, endings.Get(), files.Put());
    });
    g_laterOnesFail = false;
    for (const long k : {1, 2, 3, 4}) {  // the allocations of the array
        CComPtr<IOibFilesArray> files;
        g_allocationsLeft = k;
        EXPECT_EQ(browser->GetFiles(root.Get(), files.Put()), E_OUTOFMEMORY);
        EXPECT_EQ(support::TakeError().description,
                  u"Instance of the CCoOibFilesArray() cannot be initialized.\r\n"
                  u"COM error:  Code: 0x8007000e");
    }
    g_laterOnesFail = true;
}

// One file that is a meta-file, a backup session and a publication.
TEST_F(MemoryFailure, EveryAllocationOfMetaFileCalls) {
    const auto path =
        Bstr(Write(u"x.mtf",
                   "oib1.VmName=a name that does not fit into the object of a string\r\n"
                   "oib1.OibUID=0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a\r\n"
                   "Publication.LocalTime=the time of the publication\r\n"
                   "cmd.0.Type=AddBSession\r\ncmd.0.grp.0.OIB.0.VmName=the name of a machine\r\n"
                   "cmd.0.grp.0.BackupFile.0.Path=the path of a backup file"));
    const auto name = Bstr(u"oib1.VmName");
    FailEveryAllocation("meta-file", [&] {
        CComPtr<IMtfMetaFile> file;
        CComPtr<IMtfAttrsTree> tree;
        automation::CSafeArrayPtr names;
        automation::CBstr value;
        HRESULT hr = m_lib->CreateMetaFile(path.Get(), EIdxMetaLoad, file.Put());
        hr = hr == S_OK ? file->CreateAttrsTree(name.Get(), tree.Put()) : hr;
        hr = hr == S_OK ? tree->SetAttr(name.Get(), name.Get()) : hr;
        hr = hr == S_OK ? file->EnumAllAttrs(names.Put()) : hr;
        return hr == S_OK ? file->FindAttr(name.Get(), value.Put()) : hr;
    });
    FailEveryAllocation("session", [&] {
        CComPtr<IMtfBSessionMetaFile> session;
        CComPtr<ICatOibRefsEnumerator> refs;
        automation::CBstr texts[2];
        GUID id{};
        HRESULT hr = m_lib->CreateBSessionMetaFile(path.Get(), EIdxMetaLoad, session.Put());
        hr = hr == S_OK ? session->EnumOibsRefs(refs.Put()) : hr;
        hr = hr == S_OK ? refs->GetOibRef(0, texts[0].Put(), texts[1].Put(), &id) : hr;
        return hr == S_OK ? session->DeleteOibRef(id) : hr;
    });
    FailEveryAllocation("publication", [&] {
        CComPtr<IMtfPublicationMetaFileReader> reader;
        CComPtr<IMtfPublicationOrderingInfo> info;
        CComPtr<IMtfAddBSessionCmdAccessor> accessor;
        automation::CBstr texts[4];
        GUID id{};
        HRESULT hr = m_lib->LoadPublication(path.Get(), reader.Put());
        hr = hr == S_OK ? reader->get_OrderingInfo(info.Put()) : hr;
        hr = hr == S_OK ? reader->get_AddBSessionCmdAccessor(accessor.Put()) : hr;
        return hr == S_OK ? accessor->GetOibRef(0, 0, 0, texts[0].Put(), texts[1].Put(), &id,
                                                texts[2].Put(), texts[3].Put())
                          : hr;
    });
}

// The last allocations are those of the owners map: by then all lines must be in their file.
TEST_F(MemoryFailure, GenerationKeepsTheLinesBeforeTheFailure) {
    Write(u"C.dat", support::SmallVolume().Bytes());
    const auto list = Bstr(Write(u"list", "Volume.C=C.dat\r\n#"));
    const auto output = Bstr(m_folder.Path(u"out"));
    const auto separators = Bstr(u".");
    const std::u16string text = m_folder.Path(u"out/vl.C.CORP.jsmith.0.txt");
    std::string afterLastFailure;
    FailEveryAllocation("generate", [&] {
        const HRESULT hr = m_lib->GenerateOibTDFs(list.Get(), output.Get(), {}, 100, VARIANT_FALSE,
                                                  0, 0, separators.Get());
        g_allocationsLeft = -1;
        if (hr != S_OK) {
            afterLastFailure = support::ReadWhole(text);
            std::filesystem::remove_all(m_folder.Native(u"out"));
        }
        return hr;
    });
    EXPECT_EQ(afterLastFailure, support::ReadWhole(text));
    EXPECT_GT(afterLastFailure.size(), 100U);
}

}  // namespace
