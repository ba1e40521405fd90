#include <sinew/framework/smart_ptr.h>

#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/random.h"

namespace {

// Counts the calls of its operations, and how many objects of the type exist.
struct Watched : smart_base
{
    static inline int alive = 0;
    mutable int adds = 0;
    mutable int releases = 0;

    Watched() { ++alive; }
    Watched(Watched const& other) : smart_base(other) { ++alive; }
    Watched& operator=(Watched const&) = default;
    ~Watched() override { --alive; }
    void addReference() const override
    {
        ++adds;
        smart_base::addReference();
    }
    void releaseReference() const override
    {
        ++releases;
        smart_base::releaseReference();
    }
};

struct Padding
{
    virtual ~Padding() = default;
    double something = 1;
};
// An object whose `smart_base` is not at its beginning.
struct Offset : Padding, Watched
{
};

// An interface without a reference count.
struct Drawable
{
    virtual ~Drawable() = default;
    virtual int draw() const = 0;
};
struct Shape : Watched, Drawable
{
    int draw() const override { return 7; }
};

} // namespace

TEST(SmartBase, CountStartsAtZero)
{
    Watched object;
    EXPECT_EQ(object.referenceCount, 0);
    static_assert(std::is_same_v<decltype(object.referenceCount), std::int32_t>);
}

TEST(SmartBase, CopyStartsAtZeroAndAssignmentLeavesBothCounts)
{
    smart_ptr<Watched> const held(new Watched);
    smart_ptr<Watched> const again = held;
    Watched copy(*held);
    EXPECT_EQ(copy.referenceCount, 0);
    copy = *held;
    EXPECT_EQ(copy.referenceCount, 0);
    *held = copy;
    EXPECT_EQ(held->referenceCount, 2);
}

TEST(SmartBase, ReleaseDestroysAtZeroAndBelow)
{
    auto* object = new Watched;
    object->addReference();
    object->addReference();
    object->releaseReference();
    EXPECT_EQ(Watched::alive, 1);
    object->releaseReference();
    EXPECT_EQ(Watched::alive, 0);

    (new Watched)->releaseReference(); // from 0 to -1
    EXPECT_EQ(Watched::alive, 0);
}

TEST(SmartBase, DestroyDeletesThroughTheVirtualDestructor)
{
    smart_base const* object = new Offset;
    object->destroy();
    EXPECT_EQ(Watched::alive, 0);
}

TEST(SmartBase, DestroyMayBeOverridden)
{
    struct Recycled : smart_base
    {
        mutable int returned = 0;
        void destroy() const override { ++returned; }
    } onStack;
    smart_ptr<Recycled>(&onStack).reset();
    smart_ptr<Recycled>(&onStack).reset();
    EXPECT_EQ(onStack.returned, 2);
}

#if defined(__GNUC__) && defined(__x86_64__)
// In the C++ ABI of this platform a pointer to a virtual member is one more than its byte offset in the virtual table;
// the two destructors take slots 0 and 1.
template <typename Member>
std::ptrdiff_t slotOf(Member member)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof words == sizeof member);
    std::memcpy(words, &member, sizeof words);
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(SmartBase, VirtualOperationsAreInTheDocumentedOrder)
{
    EXPECT_EQ(slotOf(&smart_base::addReference), 2);
    EXPECT_EQ(slotOf(&smart_base::releaseReference), 3);
    EXPECT_EQ(slotOf(&smart_base::destroy), 4);
}
#endif

TEST(SmartBase, CountFollowsTheVirtualTable)
{
    Watched object;
    auto const at = reinterpret_cast<char*>(&object.referenceCount) - reinterpret_cast<char*>(&object);
    EXPECT_EQ(at, static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(SmartPtr, ConsistsOfTheCountingPointerAndTheObjectPointer)
{
    auto* object = new Offset;
    smart_ptr<Offset> const held(object);
    void* words[2];
    static_assert(sizeof words == sizeof held);
    std::memcpy(words, &held, sizeof words);
    EXPECT_EQ(words[0], static_cast<void*>(static_cast<smart_base*>(object)));
    EXPECT_EQ(words[1], static_cast<void*>(object));
    EXPECT_NE(words[0], words[1]);
}

TEST(SmartPtr, EmptyHoldsNothing)
{
    smart_ptr<Watched> const empty;
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_FALSE(empty);
    EXPECT_TRUE(empty == nullptr && nullptr == empty);
    EXPECT_FALSE(empty != nullptr || nullptr != empty);
    smart_ptr<Watched> const null(static_cast<Watched*>(nullptr));
    EXPECT_EQ(null, empty);
    EXPECT_EQ(smart_ptr<Watched>(empty), nullptr);
}

TEST(SmartPtr, CountsThroughTheVirtualTable)
{
    smart_ptr<Watched> const held(new Watched);
    {
        smart_ptr<smart_base> const asBase = held;
        smart_ptr<Watched const> const asConst = held;
        EXPECT_EQ(held->referenceCount, 3);
    }
    EXPECT_EQ(held->adds, 3);
    EXPECT_EQ(held->releases, 2);
}

TEST(SmartPtr, MovingChangesNoCount)
{
    smart_ptr<Offset> held(new Offset);
    smart_ptr<Offset> moved = std::move(held);
    smart_ptr<Watched> base = std::move(moved);
    smart_ptr<Watched> assigned;
    assigned = std::move(base);
    EXPECT_TRUE(!held && !moved && !base);
    EXPECT_EQ(assigned->adds, 1);
    EXPECT_EQ(assigned->releases, 0);
    auto& self = assigned;
    assigned = std::move(self);
    EXPECT_TRUE(assigned) << "moving a handle to itself keeps the object";
    EXPECT_EQ(assigned->referenceCount, 1);
}

TEST(SmartPtr, ResetToTheSameObjectKeepsIt)
{
    smart_ptr<Watched> held(new Watched);
    held.reset(held.get());
    EXPECT_EQ(Watched::alive, 1);
    EXPECT_EQ(held->referenceCount, 1);
    held = smart_ptr<Watched>(held.get());
    EXPECT_EQ(held->referenceCount, 1);
    auto& self = held;
    held = self;
    EXPECT_EQ(held->referenceCount, 1);
    held.reset();
    EXPECT_EQ(Watched::alive, 0);
}

TEST(SmartPtr, HoldsAnInterfaceThroughTheCountOfItsImplementation)
{
    smart_ptr<Drawable> drawable = smart_ptr<Shape>(new Shape);
    EXPECT_EQ(drawable->draw(), 7);
    EXPECT_EQ(Watched::alive, 1);
    drawable.reset();
    EXPECT_EQ(Watched::alive, 0);
}

TEST(SmartPtr, ConvertsExactlyWhereRawPointersConvert)
{
    static_assert(std::is_convertible_v<smart_ptr<Offset>, smart_ptr<Watched>>);
    static_assert(std::is_convertible_v<smart_ptr<Watched>, smart_ptr<Watched const>>);
    static_assert(!std::is_constructible_v<smart_ptr<Offset>, smart_ptr<Watched>>);
    static_assert(!std::is_constructible_v<smart_ptr<Watched>, smart_ptr<Watched const>>);
    static_assert(std::is_nothrow_move_constructible_v<smart_ptr<Watched>>);
    static_assert(std::is_nothrow_swappable_v<smart_ptr<Watched>>);
}

TEST(SmartPtr, DestructorSeesTheNewStateOfTheHandle)
{
    struct Probe : smart_base
    {
        smart_ptr<Probe>* handle;
        bool* sawEmpty;
        Probe(smart_ptr<Probe>* h, bool* s) : handle(h), sawEmpty(s) {}
        ~Probe() override
        {
            *sawEmpty = handle->get() == nullptr;
            handle->reset(); // must not release a second time
        }
    };
    bool sawEmpty = false;
    smart_ptr<Probe> handle;
    handle.reset(new Probe(&handle, &sawEmpty));
    handle.reset();
    EXPECT_TRUE(sawEmpty);
}

namespace {

struct Refused : std::runtime_error
{
    Refused() : std::runtime_error("refused") {}
};

// An object of the model test. It may hold an object that was made before it, so destroying it may destroy a chain of
// objects from inside destructors.
struct Node : Watched
{
    static inline std::vector<bool> exists; // by id
    static inline int refuseAfter = -1;     // number of calls of addReference that still succeed; negative: all

    int id;
    smart_ptr<Node> next;

    Node() : id(static_cast<int>(exists.size())) { exists.push_back(true); }
    ~Node() override { exists[static_cast<std::size_t>(id)] = false; }
    void addReference() const override
    {
        if (refuseAfter == 0) throw Refused();
        if (refuseAfter > 0) --refuseAfter;
        Watched::addReference();
    }
};

// The model: the counts that the objects should have, computed without handles.
class ExpectedCounts
{
public:
    struct Entry
    {
        int count = 0;
        int next = -1;
    };
    std::map<int, Entry> entries;

    void add(int id)
    {
        if (id >= 0) ++entries[id].count;
    }
    void drop(int id)
    {
        while (id >= 0 && --entries[id].count == 0) {
            int const next = entries[id].next;
            entries.erase(id);
            id = next;
        }
    }
};

// Handles of three types that are changed at random. Beside each handle it keeps the id of the object that the handle
// should hold.
class Model
{
public:
    static constexpr int kSlots = 24; // of each type of handle

    explicit Model(std::uint64_t seed) : random_(seed), nodes_(kSlots), bases_(kSlots), consts_(kSlots) {}

    void step()
    {
        // In one step of eight addReference throws, at the first call or at a later one.
        Node::refuseAfter = random_.oneIn(8) ? random_.below(4) : -1;
        int const to = random_.below(kSlots);
        int const from = random_.below(kSlots);
        try {
            switch (random_.below(12)) {
            case 0:
                fill(to);
                break;
            case 1:
                commit(nodeIds_[to], nodeIds_[from], [&] { nodes_[to] = nodes_[from]; });
                break;
            case 2:
                move(to, from);
                break;
            case 3:
                commit(nodeIds_[to], nodeIds_[to], [&] { nodes_[to].reset(nodes_[to].get()); });
                break;
            case 4:
                commit(nodeIds_[to], nodeIds_[from], [&] { nodes_[to].reset(nodes_[from].get()); });
                break;
            case 5:
                commit(nodeIds_[to], -1, [&] { nodes_[to].reset(); });
                break;
            case 6:
                commit(baseIds_[to], nodeIds_[from], [&] { bases_[to] = nodes_[from]; });
                break;
            case 7:
                commit(constIds_[to], nodeIds_[from], [&] { consts_[to] = nodes_[from]; });
                break;
            case 8:
                commit(constIds_[to], -1, [&] { consts_[to] = nullptr; });
                break;
            case 9:
                std::swap(nodeIds_[to], nodeIds_[from]);
                swap(nodes_[to], nodes_[from]);
                break;
            case 10:
                link(to, from);
                break;
            default:
                copyAll();
                break;
            }
        } catch (Refused const&) {
        }
        Node::refuseAfter = -1;
    }

    void check() const
    {
        int existing = 0;
        for (bool exists : Node::exists) existing += exists;
        ASSERT_EQ(existing, static_cast<int>(expected_.entries.size()));
        for (int i = 0; i < kSlots; ++i) {
            ASSERT_EQ(nodes_[i] ? nodes_[i]->id : -1, nodeIds_[i]);
            ASSERT_EQ(consts_[i] ? consts_[i]->id : -1, constIds_[i]);
            ASSERT_EQ(static_cast<bool>(bases_[i]), baseIds_[i] >= 0);
            if (nodes_[i]) {
                ASSERT_EQ(nodes_[i]->referenceCount, expected_.entries.at(nodeIds_[i]).count);
            }
            if (bases_[i]) {
                ASSERT_EQ(bases_[i]->referenceCount, expected_.entries.at(baseIds_[i]).count);
            }
            if (consts_[i]) {
                ASSERT_EQ(consts_[i]->referenceCount, expected_.entries.at(constIds_[i]).count);
            }
        }
    }

private:
    using Ids = std::vector<int>;

    // Runs `change`. If it does not throw, changes the expected counts: first the new reference, then the old one.
    template <typename Change>
    void commit(int& slotId, int newId, Change change)
    {
        change();
        expected_.add(newId);
        int const old = std::exchange(slotId, newId);
        expected_.drop(old);
    }

    void fill(int to)
    {
        Node::refuseAfter = -1; // if the first reference were refused, no handle would own the new object
        auto* node = new Node;
        commit(nodeIds_[to], node->id, [&] { nodes_[to].reset(node); });
    }

    void move(int to, int from)
    {
        nodes_[to] = std::move(nodes_[from]);
        if (to == from) return;
        int const moved = std::exchange(nodeIds_[from], -1);
        expected_.drop(std::exchange(nodeIds_[to], moved));
    }

    // An object holds only objects that were made before it, so that there is no cycle.
    void link(int to, int from)
    {
        if (!nodes_[to] || !nodes_[from] || nodeIds_[from] >= nodeIds_[to]) return;
        commit(expected_.entries.at(nodeIds_[to]).next, nodeIds_[from], [&] { nodes_[to]->next = nodes_[from]; });
    }

    // Copies all handles of one type and destroys the copies. May throw after any number of copies. One by one, because
    // the copy constructor of libc++'s vector (version 14) does not destroy the copies when a later one throws.
    void copyAll() const
    {
        std::vector<smart_ptr<Node>> copies;
        copies.reserve(nodes_.size());
        for (auto const& node : nodes_) copies.push_back(node);
    }

    test::Random random_;
    ExpectedCounts expected_;
    std::vector<smart_ptr<Node>> nodes_;
    std::vector<smart_ptr<smart_base>> bases_;
    std::vector<smart_ptr<Node const>> consts_;
    Ids nodeIds_ = Ids(kSlots, -1);
    Ids baseIds_ = Ids(kSlots, -1);
    Ids constIds_ = Ids(kSlots, -1);
};

} // namespace

TEST(SmartPtr, CountsAgreeWithAModelThroughAMillionRandomOperations)
{
    for (std::uint64_t seed = 1; seed <= 24; ++seed) {
        SCOPED_TRACE(seed);
        Node::exists.clear();
        {
            Model model(seed);
            for (int i = 0; i < 50000; ++i) {
                model.step();
                if (i % 64 == 0) {
                    SCOPED_TRACE(i);
                    ASSERT_NO_FATAL_FAILURE(model.check());
                }
            }
        }
        EXPECT_EQ(Watched::alive, 0);
    }
}

TEST(SmartPtr, ThrowingAddReferenceChangesNoHandleAndNoCount)
{
    smart_ptr<Node> a(new Node);
    smart_ptr<Node> b(new Node);
    Node* const before = a.get();
    Node::refuseAfter = 0;
    EXPECT_THROW(a = b, Refused);
    EXPECT_THROW(a.reset(b.get()), Refused);
    EXPECT_THROW(smart_ptr<Node const>{b}, Refused);
    Node::refuseAfter = -1;
    EXPECT_EQ(a.get(), before);
    EXPECT_EQ(a->referenceCount, 1);
    EXPECT_EQ(b->referenceCount, 1);
}

TEST(SmartPtr, ObjectWhoseConstructorThrowsIsNeverCounted)
{
    struct Fails : Watched
    {
        smart_ptr<Watched> member{new Watched};
        Fails() { throw Refused(); }
    };
    EXPECT_THROW(smart_ptr<Watched>(new Fails), Refused);
    EXPECT_EQ(Watched::alive, 0);
}
