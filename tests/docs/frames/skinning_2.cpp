#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    smart_ptr<DisplayData> const display(new DisplayData);
    display->boneWeights = smart_ptr<BoneWeightTable>(new BoneWeightTable);
    display->boneWeights->influences = {{{0, 0.75}}};
    std::size_t const vertexCount = 1;
    std::size_t const boneCount = 1;
    // THE BLOCK
}
