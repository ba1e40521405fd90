#include <sinew/sinew.h>

static void draw(DisplayData const&) {}

// THE BLOCK

int main()
{
    smart_ptr<DisplayData> const display(new DisplayData);
    drawPosed(display, smart_ptr<BoneTransformVector>(new BoneTransformVector));
}
