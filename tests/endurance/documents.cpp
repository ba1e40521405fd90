#include <sstream>

#include "endurance/subject.h"
#include "framework/gallery.h"

namespace {

using endurance::Hash;
using endurance::require;
using test::Random;

class Documents : public endurance::Subject
{
public:
    void step(Random& random, Hash& hash) override
    {
        switch (random.below(4)) {
        case 0:
            write(random);
            break;
        case 1:
            read();
            break;
        case 2:
            damage(random);
            break;
        default:
            create(random);
            break;
        }
        hash.add(static_cast<std::uint64_t>(text_.size()));
        hash.add(static_cast<std::uint64_t>(painting_.bids.size()));
        hash.add(painting_.price);
    }

private:
    void write(Random& random)
    {
        painting_ = gallery::randomPainting(random);
        std::ostringstream out;
        sinew::writeDocument(out, painting_, "EndurancePainting");
        // A stream that runs out of memory reports it in its state.
        if (!out) throw std::bad_alloc();
        text_ = out.str();
    }

    void read()
    {
        if (text_.empty()) return;
        std::istringstream in(text_);
        gallery::Painting loaded;
        sinew::readDocument(in, loaded);
        painting_ = loaded;
    }

    // A truncated text, or one with a changed byte, is read or refused.
    void damage(Random& random)
    {
        if (text_.empty()) return;
        std::string damaged = text_;
        auto const at = static_cast<std::size_t>(random.below(static_cast<int>(text_.size())));
        if (random.oneIn(2)) {
            damaged.resize(at);
        } else {
            damaged[at] = static_cast<char>(random.below(256));
        }
        std::istringstream in(damaged);
        gallery::Painting loaded;
        try {
            sinew::readDocument(in, loaded);
        } catch (Serializable::LoadFail const&) {
        }
    }

    void create(Random& random)
    {
        if (text_.empty()) return;
        SerializableFactory<gallery::Painting> const factory("EndurancePainting");
        std::istringstream in(random.oneIn(4) ? "<Unregistered/>" : text_);
        try {
            std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
            require(dynamic_cast<gallery::Painting const*>(made.get()) != nullptr, "the class of the root element");
        } catch (Serializable::LoadFail const&) {
        }
    }

    gallery::Painting painting_;
    std::string text_;
};

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeDocuments()
{
    return std::make_unique<Documents>();
}
