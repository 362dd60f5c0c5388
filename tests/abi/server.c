/* The ways to the library object: class factory, factory function, aggregation. */
#include <string.h>

#include "checks.h"

static void CheckClassFactory(void) {
    static const GUID kOtherClass = {9, 9, 9, {9}};
    IClassFactory* factory = NULL;
    void* none = &factory;
    CHECK_HR(api.DllGetClassObject(&kOtherClass, &IID_IClassFactory, &none),
             CLASS_E_CLASSNOTAVAILABLE);
    CHECK(none == NULL);
    if (!CHECK_HR(api.DllGetClassObject(&CLSID_COibIdxLib, &IID_IClassFactory, (void**)&factory),
                  S_OK)) {
        return;
    }
    CHECK_HR(factory->vtbl->QueryInterface(factory, &IID_IDispatch, &none), E_NOINTERFACE);
    factory->vtbl->AddRef(factory);
    factory->vtbl->Release(factory);

    CHECK_HR(api.DllCanUnloadNow(), S_OK);
    CHECK_HR(factory->vtbl->LockServer(factory, 1), S_OK);
    CHECK_HR(api.DllCanUnloadNow(), S_FALSE);
    CHECK_HR(factory->vtbl->LockServer(factory, 0), S_OK);
    CHECK_HR(api.DllCanUnloadNow(), S_OK);

    IOibIdxLib* library = NULL;
    CHECK_HR(factory->vtbl->CreateInstance(factory, NULL, &IID_IOibIdxLib, NULL), E_POINTER);
    CHECK_HR(factory->vtbl->CreateInstance(factory, NULL, &IID_IOibDFBrowser, (void**)&library),
             E_NOINTERFACE);
    CHECK(library == NULL);
    CHECK_HR(api.DllCanUnloadNow(), S_OK);
    CHECK_HR(factory->vtbl->CreateInstance(factory, NULL, &IID_IOibIdxLib, (void**)&library), S_OK);
    CHECK_HR(api.DllCanUnloadNow(), S_FALSE);
    CheckObject(&kIOibIdxLib, library);
    Release(library);
    CHECK_HR(api.DllCanUnloadNow(), S_OK);
    factory->vtbl->Release(factory);
}

/* An outer object that aggregates the library object. */
typedef struct {
    const IUnknownVtbl* vtbl;
    uint32_t references;
    IUnknown* inner;
} Outer;

static uint32_t OuterAddRef(void* self) {
    return ++((Outer*)self)->references;
}

static uint32_t OuterRelease(void* self) {
    return --((Outer*)self)->references;
}

static HRESULT OuterQueryInterface(void* self, const GUID* iid, void** out) {
    if (memcmp(iid, &IID_IUnknown, sizeof(*iid)) == 0) {
        OuterAddRef(self);
        *out = self;
        return S_OK;
    }
    IUnknown* inner = ((Outer*)self)->inner;
    return inner->vtbl->QueryInterface(inner, iid, out);
}

static void CheckAggregation(void) {
    static const IUnknownVtbl kVtbl = {OuterQueryInterface, OuterAddRef, OuterRelease};
    Outer outer = {&kVtbl, 1, NULL};
    void* none = &outer;
    CHECK_HR(api.CreateOibIdxLib(&outer, &IID_IOibIdxLib, &none), CLASS_E_NOAGGREGATION);
    CHECK(none == NULL);
    if (!CHECK_HR(api.CreateOibIdxLib(&outer, &IID_IUnknown, (void**)&outer.inner), S_OK)) {
        return;
    }
    CHECK(outer.references == 1 && (void*)outer.inner != (void*)&outer);

    IOibIdxLib* library = NULL;
    CHECK_HR(outer.inner->vtbl->QueryInterface(outer.inner, &IID_IOibIdxLib, (void**)&library),
             S_OK);
    CHECK(outer.references == 2); /* the outer object's count is the one that counts */
    void* identity = NULL;
    CHECK_HR(library->vtbl->QueryInterface(library, &IID_IUnknown, &identity), S_OK);
    CHECK(identity == &outer && outer.references == 3);
    Release(identity);
    CheckObject(&kIOibIdxLib, library);
    Release(library);
    CHECK(outer.references == 1);
    CHECK_HR(api.DllCanUnloadNow(), S_FALSE);
    CHECK(outer.inner->vtbl->Release(outer.inner) == 0);
    CHECK_HR(api.DllCanUnloadNow(), S_OK);
}

void CheckServer(void) {
    CheckClassFactory();
    CheckAggregation();
    void* none = &api;
    CHECK_HR(api.CreateOibIdxLib(NULL, &IID_IOibIdxLib, NULL), E_POINTER);
    CHECK_HR(api.CreateOibIdxLib(NULL, &IID_IOibFilesArray, &none), E_NOINTERFACE);
    CHECK(none == NULL);
    /* There is no registry here to write to. */
    CHECK_HR(api.DllRegisterServer(), E_NOTIMPL);
    CHECK_HR(api.DllUnregisterServer(), E_NOTIMPL);
}
