#include <selftest/group.h>

namespace selftest {

std::vector<Group> allGroups()
{
    std::vector<Group> all;
    for (auto const groupsOf :
         {frameworkGroups, coreGroups, queriesGroups, fieldsGroups, skinningGroups, meshfuncGroups, sparseGroups}) {
        std::vector<Group> const groups = groupsOf();
        all.insert(all.end(), groups.begin(), groups.end());
    }
    return all;
}

Record run(Group const& group)
{
    Record name;
    name.add(group.name);
    Inputs inputs(name.hash());
    Record out;
    group.run(inputs, out);
    return out;
}

} // namespace selftest
