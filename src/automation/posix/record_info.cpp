#include "automation/posix/record_info.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "automation/bstr.h"
#include "automation/posix/automation_internal.h"
#include "automation/posix/variant_convert.h"
#include "text/ascii_case.h"

namespace automation::detail {

namespace {

// Without Data4: an array of bytes cannot be a field.
constexpr FieldDesc kGuidFields[] = {
    Field<decltype(GUID::Data1)>(u"Data1", offsetof(GUID, Data1)),
    Field<decltype(GUID::Data2)>(u"Data2", offsetof(GUID, Data2)),
    Field<decltype(GUID::Data3)>(u"Data3", offsetof(GUID, Data3)),
};
// The record has a name but no identifier.
constexpr RecordDesc kGuidRecord = {u"GUID", &GUID_NULL, sizeof(GUID), kGuidFields};

void* FieldOf(void* record, const FieldDesc& field) {
    return static_cast<char*>(record) + field.offset;
}

// Describes and manages the records of one table entry. A record is a block from malloc that
// RecordDestroy frees. Any thread may use the object; the caller synchronises the records.
class CRecordInfo final : public IRecordInfo {
public:
    explicit CRecordInfo(const RecordDesc& desc) noexcept : m_desc(desc) {}

    HRESULT QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IRecordInfo) {
            return E_NOINTERFACE;
        }
        *object = static_cast<IRecordInfo*>(this);
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT RecordInit(PVOID record) override;
    HRESULT RecordClear(PVOID record) override;
    HRESULT RecordCopy(PVOID source, PVOID target) override;
    HRESULT GetGuid(GUID* guid) override;
    HRESULT GetName(BSTR* name) override;
    HRESULT GetSize(ULONG* bytes) override;
    HRESULT GetTypeInfo(ITypeInfo** info) override;
    HRESULT GetField(PVOID record, LPCOLESTR name, VARIANT* value) override;
    HRESULT GetFieldNoCopy(PVOID record, LPCOLESTR name, VARIANT* value, PVOID* array) override;
    HRESULT PutField(ULONG flags, PVOID record, LPCOLESTR name, VARIANT* value) override;
    HRESULT PutFieldNoCopy(ULONG flags, PVOID record, LPCOLESTR name, VARIANT* value) override;
    HRESULT GetFieldNames(ULONG* count, BSTR* names) override;
    BOOL IsMatchingType(IRecordInfo* other) override;
    PVOID RecordCreate() override { return std::calloc(1, m_desc.size); }
    HRESULT RecordCreateCopy(PVOID source, PVOID* target) override;
    HRESULT RecordDestroy(PVOID record) override;

private:
    ~CRecordInfo() = default;

    // Null when there is no such field.
    const FieldDesc* FindField(LPCOLESTR name) const;
    // Checks the arguments of the field calls and finds the field.
    HRESULT CheckAccess(PVOID record, LPCOLESTR name, const VARIANT* value,
                        const FieldDesc*& field) const;

    const RecordDesc& m_desc;
    std::atomic<ULONG> m_references{1};
};

HRESULT CRecordInfo::RecordInit(PVOID record) {
    if (record == nullptr) {
        return E_INVALIDARG;
    }
    std::memset(record, 0, m_desc.size);
    return S_OK;
}

HRESULT CRecordInfo::RecordClear(PVOID record) {
    if (record == nullptr) {
        return E_INVALIDARG;
    }
    for (const FieldDesc& field : m_desc.fields) {
        if (field.type == EValueType::String) {
            BSTR& text = *static_cast<BSTR*>(FieldOf(record, field));
            SysFreeString(text);
            text = nullptr;
        }
    }
    return S_OK;
}

HRESULT CRecordInfo::RecordCopy(PVOID source, PVOID target) {
    if (source == nullptr || target == nullptr) {
        return E_INVALIDARG;
    }
    // Copies before it clears: source and target may be the same record.
    void* copy = nullptr;
    const HRESULT hr = RecordCreateCopy(source, &copy);
    if (SUCCEEDED(hr)) {
        RecordClear(target);
        std::memcpy(target, copy, m_desc.size);
        std::free(copy);
    }
    return hr;
}

HRESULT CRecordInfo::GetGuid(GUID* guid) {
    if (guid == nullptr) {
        return E_INVALIDARG;
    }
    *guid = *m_desc.guid;
    return S_OK;
}

HRESULT CRecordInfo::GetName(BSTR* name) {
    if (name == nullptr) {
        return E_INVALIDARG;
    }
    *name = SysAllocString(m_desc.name);
    return *name == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT CRecordInfo::GetSize(ULONG* bytes) {
    if (bytes == nullptr) {
        return E_INVALIDARG;
    }
    *bytes = static_cast<ULONG>(m_desc.size);
    return S_OK;
}

HRESULT CRecordInfo::GetTypeInfo(ITypeInfo** info) {
    if (info == nullptr) {
        return E_INVALIDARG;
    }
    *info = nullptr;
    return E_NOTIMPL;
}

const FieldDesc* CRecordInfo::FindField(LPCOLESTR name) const {
    for (const FieldDesc& field : m_desc.fields) {
        if (text::EqualsNoCase(field.name, name)) {
            return &field;
        }
    }
    return nullptr;
}

HRESULT CRecordInfo::CheckAccess(PVOID record, LPCOLESTR name, const VARIANT* value,
                                 const FieldDesc*& field) const {
    if (record == nullptr || name == nullptr || value == nullptr) {
        return E_INVALIDARG;
    }
    field = FindField(name);
    return field == nullptr ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT CRecordInfo::GetField(PVOID record, LPCOLESTR name, VARIANT* value) {
    VARIANT reference = {};
    VARIANT view = {};
    HRESULT hr =
        value == nullptr ? E_INVALIDARG : GetFieldNoCopy(record, name, &reference, nullptr);
    if (SUCCEEDED(hr)) {
        hr = Dereference(reference, view);
    }
    return FAILED(hr) ? hr : CopyVariant(*value, view);
}

HRESULT CRecordInfo::GetFieldNoCopy(PVOID record, LPCOLESTR name, VARIANT* value, PVOID* array) {
    const FieldDesc* field = nullptr;
    const HRESULT hr = CheckAccess(record, name, value, field);
    if (FAILED(hr)) {
        return hr;
    }
    if (array != nullptr) {
        *array = nullptr;
    }
    *value = {};
    value->vt = static_cast<VARTYPE>(VT_BYREF | VariantTypeOf(field->type));
    value->byref = FieldOf(record, *field);
    return S_OK;
}

HRESULT CRecordInfo::PutField(ULONG flags, PVOID record, LPCOLESTR name, VARIANT* value) {
    const FieldDesc* field = nullptr;
    HRESULT hr = CheckAccess(record, name, value, field);
    VARIANT view = {};
    if (SUCCEEDED(hr)) {
        hr = Dereference(*value, view);
    }
    CVariant converted;
    if (SUCCEEDED(hr)) {
        // No exception may cross the interface.
        try {
            hr = ConvertVariant(view, VariantTypeOf(field->type), converted);
        } catch (const std::bad_alloc&) {
            hr = E_OUTOFMEMORY;
        }
    }
    if (SUCCEEDED(hr)) {
        hr = PutFieldNoCopy(flags, record, name, &converted.Get());
    }
    return hr;
}

HRESULT CRecordInfo::PutFieldNoCopy(ULONG flags, PVOID record, LPCOLESTR name, VARIANT* value) {
    const FieldDesc* field = nullptr;
    const HRESULT hr = CheckAccess(record, name, value, field);
    if (FAILED(hr)) {
        return hr;
    }
    if (flags != DISPATCH_PROPERTYPUT && flags != DISPATCH_PROPERTYPUTREF) {
        return E_INVALIDARG;
    }
    const VARTYPE type = VariantTypeOf(field->type);
    if (value->vt != type) {
        return DISP_E_TYPEMISMATCH;
    }
    void* target = FieldOf(record, *field);
    if (type == VT_BSTR) {
        SysFreeString(*static_cast<BSTR*>(target));
    }
    std::memcpy(target, &value->llVal, ValueSize(type));
    // The record owns the content now.
    *value = {};
    return S_OK;
}

HRESULT CRecordInfo::GetFieldNames(ULONG* count, BSTR* names) {
    if (count == nullptr) {
        return E_INVALIDARG;
    }
    const auto available = static_cast<ULONG>(m_desc.fields.size());
    if (names == nullptr || *count > available) {
        *count = available;
    }
    for (ULONG i = 0; names != nullptr && i < *count; ++i) {
        names[i] = SysAllocString(m_desc.fields[i].name);
        if (names[i] == nullptr) {
            while (i > 0) {
                SysFreeString(names[--i]);
            }
            return E_OUTOFMEMORY;
        }
    }
    return S_OK;
}

BOOL CRecordInfo::IsMatchingType(IRecordInfo* other) {
    return other != nullptr && DescribesRecord(other, m_desc) ? TRUE : FALSE;
}

HRESULT CRecordInfo::RecordCreateCopy(PVOID source, PVOID* target) {
    if (source == nullptr || target == nullptr) {
        return E_INVALIDARG;
    }
    *target = nullptr;
    void* copy = RecordCreate();
    if (copy == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(copy, source, m_desc.size);
    bool failed = false;
    for (const FieldDesc& field : m_desc.fields) {
        if (field.type == EValueType::String) {
            BSTR& text = *static_cast<BSTR*>(FieldOf(copy, field));
            const BSTR original = text;
            // After a failure the other strings become null, so that the copy can be freed.
            text = failed ? nullptr : CopyBstr(original);
            failed = failed || CopyFailed(original, text);
        }
    }
    if (failed) {
        RecordDestroy(copy);
        return E_OUTOFMEMORY;
    }
    *target = copy;
    return S_OK;
}

HRESULT CRecordInfo::RecordDestroy(PVOID record) {
    const HRESULT hr = RecordClear(record);
    std::free(record);
    return hr;
}

}  // namespace

const RecordDesc& GuidRecord() noexcept {
    return kGuidRecord;
}

CComPtr<IRecordInfo> NewRecordInfo(const RecordDesc& desc) noexcept {
    return CComPtr<IRecordInfo>::Attach(new (std::nothrow) CRecordInfo(desc));
}

bool DescribesRecord(IRecordInfo* info, const RecordDesc& desc) noexcept {
    if (info == nullptr) {
        return true;
    }
    GUID guid = {};
    ULONG size = 0;
    if (FAILED(info->GetGuid(&guid)) || FAILED(info->GetSize(&size))) {
        return false;
    }
    // A record without an identifier is compared by size only.
    return size == desc.size && (*desc.guid == GUID_NULL || guid == *desc.guid);
}

}  // namespace automation::detail
