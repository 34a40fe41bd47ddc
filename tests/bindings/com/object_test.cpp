// The object and its factory as COM wants them: identity, aggregation, lifetime, apartments.
#include "tests/bindings/com/com_fixture.h"

#include <atomic>
#include <thread>

using namespace quorvanti::test;

namespace {

class ComObject : public testing::Test {
protected:
    ~ComObject() override { EXPECT_EQ(library_.canUnloadNow(), S_OK); }

    static Held<IUnknown> unknown(IUnknown* object) {
        void* found = nullptr;
        EXPECT_EQ(object->QueryInterface(IID_IUnknown, &found), S_OK);
        return Held<IUnknown>(static_cast<IUnknown*>(found));
    }
    Held<IUnknown> createInside(IUnknown* outer) {
        void* object = nullptr;
        EXPECT_EQ(library_.factory()->CreateInstance(outer, IID_IUnknown, &object), S_OK);
        return Held<IUnknown>(static_cast<IUnknown*>(object));
    }

    const ComLibrary library_;
};

constexpr IID kAnInterfaceOfNobody = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

TEST_F(ComObject, OneIdentityWhateverItIsAskedThrough) {
    const Held<TicketSlots> tickets = library_.create();
    for (const IID& id : {IID_IDispatch, kTicketValidator, IID_ISupportErrorInfo}) {
        void* found = nullptr;
        ASSERT_EQ(tickets->QueryInterface(id, &found), S_OK);
        const Held<IUnknown> face(static_cast<IUnknown*>(found));
        EXPECT_EQ(unknown(face.get()).get(), unknown(tickets.get()).get());
        for (const IID& other : {IID_IUnknown, IID_IDispatch, kTicketValidator, IID_ISupportErrorInfo}) {
            EXPECT_EQ(asked(face.get(), other), S_OK);
        }
    }
    EXPECT_EQ(tickets->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

// No marshaler of its own: COM brings calls from other threads into the object's apartment.
TEST_F(ComObject, ItHasNothingElse) {
    const Held<TicketSlots> tickets = library_.create();
    for (const IID& id : {kAnInterfaceOfNobody, IID_IMarshal, IID_IClassFactory}) {
        EXPECT_EQ(asked(tickets.get(), id), E_NOINTERFACE);
    }
}

TEST_F(ComObject, ErrorInformationIsForTheTicketInterface) {
    const Held<TicketSlots> tickets = library_.create();
    void* found = nullptr;
    ASSERT_EQ(tickets->QueryInterface(IID_ISupportErrorInfo, &found), S_OK);
    const Held<ISupportErrorInfo> support(static_cast<ISupportErrorInfo*>(found));
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(kTicketValidator), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
}

TEST_F(ComObject, TheFactoryKnowsItsClassAndNoOther) {
    void* object = &object;
    EXPECT_EQ(library_.getClassObject(kAnInterfaceOfNobody, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(library_.getClassObject(kSso2Ticket, kTicketValidator, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(library_.getClassObject(kSso2Ticket, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
}

TEST_F(ComObject, TheFactoryRefusesWhatTheObjectDoesNotHave) {
    const Held<IClassFactory> factory = library_.factory();
    EXPECT_EQ(asked(factory.get(), IID_IUnknown), S_OK);
    EXPECT_EQ(asked(factory.get(), kTicketValidator), E_NOINTERFACE);
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(nullptr, kAnInterfaceOfNobody, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

// An object that the class is a part of, and that has one interface of its own: IUnknown.
class Outer final : public IUnknown {
public:
    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        if (IsEqualIID(id, IID_IUnknown)) {
            *object = this;
            AddRef();
            return S_OK;
        }
        return inner->QueryInterface(id, object);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    IUnknown* inner = nullptr;
    ULONG references = 1;
};

TEST_F(ComObject, AsPartOfAnotherObjectItHasThatObjectsIdentity) {
    Outer outer;
    const Held<IUnknown> inner = createInside(&outer);
    outer.inner = inner.get();
    EXPECT_EQ(outer.references, 1U);  // a part does not hold the whole
    {
        void* found = nullptr;
        ASSERT_EQ(outer.QueryInterface(kTicketValidator, &found), S_OK);
        const Held<TicketSlots> tickets(static_cast<TicketSlots*>(found));
        EXPECT_EQ(outer.references, 2U);
        EXPECT_EQ(unknown(tickets.get()).get(), &outer);
        EXPECT_EQ(asked(tickets.get(), IID_ISupportErrorInfo), S_OK);
        long version = 0;
        EXPECT_EQ(tickets->slot5(&version), S_OK);
        EXPECT_EQ(version, 15);
    }
    EXPECT_EQ(outer.references, 1U);
    EXPECT_NE(unknown(inner.get()).get(), &outer);
    EXPECT_EQ(library_.canUnloadNow(), S_FALSE);
}

TEST_F(ComObject, AsPartOfAnotherObjectOnlyItsIdentityIsHandedOut) {
    Outer outer;
    const Held<IClassFactory> factory = library_.factory();
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(&outer, kTicketValidator, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(outer.references, 1U);
}

TEST_F(ComObject, TheLibraryStaysAsLongAsAnythingOfItIsHeld) {
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
    {
        const Held<IClassFactory> factory = library_.factory();
        EXPECT_EQ(library_.canUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
    {
        const Held<TicketSlots> tickets = library_.create();
        EXPECT_EQ(library_.canUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
    EXPECT_EQ(library_.factory()->LockServer(TRUE), S_OK);
    EXPECT_EQ(library_.canUnloadNow(), S_FALSE);
    EXPECT_EQ(library_.factory()->LockServer(FALSE), S_OK);
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
}

TEST_F(ComObject, TheCountIsRightWhileManyThreadsComeAndGo) {
    constexpr int threads = 8;
    constexpr int rounds = 2000;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < threads; ++i) {
        clients.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const Held<IClassFactory> factory = library_.factory();
                const Held<TicketSlots> tickets = library_.create();
                factory->LockServer(TRUE);
                wrong += library_.canUnloadNow() != S_FALSE ? 1 : 0;
                factory->LockServer(FALSE);
                wrong += library_.canUnloadNow() != S_FALSE ? 1 : 0;
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(library_.canUnloadNow(), S_OK);
}

// A client that does not keep to its apartment gets no protection, but does no harm either.
TEST_F(ComObject, OneObjectBearsManyThreads) {
    const Held<TicketSlots> tickets = library_.create();
    std::atomic<int> wrong = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i) {
        clients.emplace_back([&] {
            for (int round = 0; round < 300; ++round) {
                wchar_t name[] = L"GetVersion";
                LPOLESTR names[] = {name};
                DISPID id = 0;
                VariantResult version;
                DISPPARAMS none{};
                tickets->AddRef();
                wrong += tickets->GetIDsOfNames(IID_NULL, names, 1, 0, &id) != S_OK || id != 5 ? 1 : 0;
                wrong += tickets->Invoke(5, IID_NULL, 0, DISPATCH_METHOD, &none, version.place(), nullptr, nullptr) !=
                                     S_OK ||
                                 version.value().lVal != 15
                             ? 1
                             : 0;
                tickets->Release();
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(wrong, 0);
}

// What is allocated in all heaps of the process.
std::size_t allocatedBytes() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    std::size_t bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry) != FALSE) {
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

class ComLeaks : public ComTest {};

TEST_F(ComLeaks, TenThousandObjectsLeaveNothingBehind) {
    start();
    crypto_->certificateTexts["SUBJECT"] = "CN=Subject";
    const std::string ticket = logon();
    const auto cycle = [&](int round) {
        const Held<TicketSlots> tickets = library_.create();
        VariantResult userInfo;
        EXPECT_EQ(outcomeOf(tickets->slot1(Bstr(ticket), Bstr(L"keys.pse"), Bstr(L"secret"), userInfo.place())),
                  kSuccess);
        BstrResult text;
        EXPECT_EQ(outcomeOf(tickets->slot4(Bstr(L"QUJDREU="), VariantResult(L"SUBJECT").value(), text.place())),
                  kSuccess);
        VariantResult none;
        EXPECT_NE(outcomeOf(tickets->slot1(Bstr(L""), Bstr(nullptr), Bstr(nullptr), none.place())), kSuccess);
        // The type information is read anew for each object, which takes its time.
        if (round % 10 == 0) {
            wchar_t name[] = L"GetVersion";
            LPOLESTR names[] = {name};
            DISPID id = 0;
            EXPECT_EQ(tickets->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
        }
    };
    for (int round = 0; round < 1000; ++round) {
        cycle(round);
    }
    const std::size_t before = allocatedBytes();
    ASSERT_GT(before, 100'000U);  // what the engine and the tests hold is seen
    for (int round = 0; round < 10'000; ++round) {
        cycle(round);
    }
    // One byte lost in each cycle would be more.
    EXPECT_LT(allocatedBytes(), before + 9'000);
}

}  // namespace
