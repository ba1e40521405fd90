#include <array>

#include <sinew/framework/smart_ptr.h>

#include "endurance/subject.h"

namespace {

using endurance::Hash;
using endurance::require;
using test::Random;

// Nodes point to nodes of a larger number only, so that there is no circle, which counts could not release.
struct Node : smart_base
{
    static int alive;
    std::uint64_t number;
    std::array<smart_ptr<Node const>, 4> next;

    explicit Node(std::uint64_t n) : number(n) { ++alive; }
    Node(Node const& other) : smart_base(other), number(other.number), next(other.next) { ++alive; }
    ~Node() override { --alive; }
};
int Node::alive = 0;

// A class with two bases, so that the handle's two pointers differ.
struct Named
{
    virtual ~Named() = default;
    int tag = 7;
};
struct Both : Named, Node
{
    explicit Both(std::uint64_t n) : Node(n) {}
};

class Handles : public endurance::Subject
{
public:
    ~Handles() override
    {
        for (auto& slot : slots_) slot.reset();
        named_.reset();
        if (Node::alive != 0) std::abort(); // a count was wrong
    }

    void step(Random& random, Hash& hash) override
    {
        smart_ptr<Node>& a = any(random);
        smart_ptr<Node>& b = any(random);
        switch (random.below(10)) {
        case 0:
            a = smart_ptr<Node>(new Node(count_++));
            break;
        case 1: {
            smart_ptr<Both> const both(new Both(count_++));
            named_ = both;
            a = both;
            break;
        }
        case 2:
            a = b;
            break;
        case 3:
            a = std::move(b);
            break;
        case 4:
            a.swap(b);
            break;
        case 5:
            a.reset(a.get()); // to the same object
            break;
        case 6:
            a.reset();
            break;
        case 7:
            if (a) a = smart_ptr<Node>(new Node(*a)); // a copy without handles shares what it points to
            break;
        default:
            if (a && b && b->number > a->number) a->next[random.below(4)] = b;
            break;
        }
        if (a) {
            require(a->referenceCount > 0, "a held object has a count");
            hash.add(a->number);
            hash.add(static_cast<std::uint64_t>(a->referenceCount));
        }
        hash.add(static_cast<std::uint64_t>(Node::alive));
        require(!named_ || named_->tag == 7, "an interface is alive through the count of its class");
    }

private:
    smart_ptr<Node>& any(Random& random) { return slots_[static_cast<std::size_t>(random.below(32))]; }

    std::array<smart_ptr<Node>, 32> slots_;
    smart_ptr<Named> named_;
    std::uint64_t count_ = 0;
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeHandles()
{
    return std::make_unique<Handles>();
}
