#include <sinew/core/func_binder.h>

#include <string>

#include <gtest/gtest.h>

#include "core/binder_host.h"

DECLARE_BINDER_HOST(first);
DECLARE_BINDER_HOST(second);

namespace {

bool allNull()
{
    vxFuncBinder const& binder = *vxFuncBinder::iGet();
    return !binder.drawVectorSlot && !binder.drawPointSlot && !binder.drawPointsSlot && !binder.clearSlot;
}

bool const nullWhenLoaded = allNull(); // read before main runs

std::string calls;

void drawVector(Vector3 const& a, Vector3 const& b, int i, double d)
{
    calls += "vector " + std::to_string(a.x) + " " + std::to_string(b.x) + " " + std::to_string(i) + " " +
             std::to_string(d) + ";";
}
void drawPoint(Vector3 const& p, int i)
{
    calls += "point " + std::to_string(p.x) + " " + std::to_string(i) + ";";
}
void drawPoints(std::vector<Vector3> const& points, int i, int j)
{
    calls += "points " + std::to_string(points.size()) + " " + std::to_string(i) + " " + std::to_string(j) + ";";
}
void clearAll()
{
    calls += "clear;";
}

class FuncBinder : public testing::Test
{
protected:
    void SetUp() override
    {
        vxFuncBinder::iGet()->iReset();
        calls.clear();
    }
    void TearDown() override { vxFuncBinder::iGet()->iReset(); }

    Vector3 a = {1, 0, 0};
    Vector3 b = {2, 0, 0};
};

} // namespace

TEST_F(FuncBinder, HasNoCallbacksWhenLoaded)
{
    EXPECT_TRUE(nullWhenLoaded);
}

TEST_F(FuncBinder, DoesNothingWithoutCallbacks)
{
    vxFuncBinder::drawVector(a, b, 1, 2);
    vxFuncBinder::drawPoint(a, 1);
    vxFuncBinder::drawPoints({a, b}, 1, 2);
    vxFuncBinder::clear();
    dVec(a, b, 1);
    dVecSc(a, b, 1, 2);
    dPnt(a, 1);
    cl();
    EXPECT_EQ(calls, "");
}

TEST_F(FuncBinder, DrawVectorPassesOnItsArguments)
{
    vxFuncBinder::registerDrawVector(drawVector);
    dVec(a, b, 3);
    dVecSc(a, b, 3, 2.5);
    vxFuncBinder::drawVector(b, a, 4, 0.5);
    EXPECT_EQ(calls, "vector 1.000000 2.000000 3 0.100000;"
                     "vector 1.000000 2.000000 3 2.500000;"
                     "vector 2.000000 1.000000 4 0.500000;");
}

TEST_F(FuncBinder, DVecPassesExactly0Point1)
{
    static double seen = 0;
    vxFuncBinder::registerDrawVector([](Vector3 const&, Vector3 const&, int, double d) { seen = d; });
    dVec(a, b, 3);
    EXPECT_EQ(seen, 0.1);
}

TEST_F(FuncBinder, DrawPointAndClearPassOnTheirArguments)
{
    vxFuncBinder::registerDrawPoint(drawPoint);
    vxFuncBinder::registerClear(clearAll);
    vxFuncBinder::drawPoint(a, 7);
    dPnt(b, 8);
    vxFuncBinder::clear();
    cl();
    EXPECT_EQ(calls, "point 1.000000 7;point 2.000000 8;clear;clear;");
}

TEST_F(FuncBinder, DrawPointsNeedsTheDrawPointCallback)
{
    vxFuncBinder::registerDrawPoints(drawPoints);
    vxFuncBinder::drawPoints({a, b}, 5, 6);
    EXPECT_EQ(calls, "");
    vxFuncBinder::registerDrawPoint(drawPoint);
    vxFuncBinder::drawPoints({a, b}, 5, 6);
    EXPECT_EQ(calls, "points 2 5 6;");
    vxFuncBinder::drawPoints({}, 5, 6);
    EXPECT_EQ(calls, "points 2 5 6;points 0 5 6;") << "an empty set is passed on too";
}

TEST_F(FuncBinder, RegisteringSetsOneSlotAndNullClearsIt)
{
    vxFuncBinder& binder = *vxFuncBinder::iGet();
    vxFuncBinder::registerDrawPoints(drawPoints);
    EXPECT_EQ(binder.drawPointsSlot, drawPoints);
    EXPECT_FALSE(binder.drawPointSlot);
    vxFuncBinder::registerDrawVector(drawVector);
    vxFuncBinder::registerDrawPoint(drawPoint);
    vxFuncBinder::registerClear(clearAll);
    EXPECT_EQ(binder.drawVectorSlot, drawVector);
    EXPECT_EQ(binder.drawPointSlot, drawPoint);
    EXPECT_EQ(binder.clearSlot, clearAll);
    vxFuncBinder::registerDrawVector(nullptr);
    vxFuncBinder::registerDrawPoint(nullptr);
    vxFuncBinder::registerDrawPoints(nullptr);
    vxFuncBinder::registerClear(nullptr);
    EXPECT_TRUE(allNull());
}

TEST_F(FuncBinder, ResetRemovesAllCallbacks)
{
    vxFuncBinder::registerDrawVector(drawVector);
    vxFuncBinder::registerDrawPoint(drawPoint);
    vxFuncBinder::registerDrawPoints(drawPoints);
    vxFuncBinder::registerClear(clearAll);
    vxFuncBinder::iGet()->iReset();
    EXPECT_TRUE(allNull());
    dVec(a, b, 1);
    dPnt(a, 1);
    vxFuncBinder::drawPoints({a}, 1, 2);
    cl();
    EXPECT_EQ(calls, "");
}

TEST_F(FuncBinder, IsSharedByAllLibrariesOfTheHost)
{
    EXPECT_EQ(firstInstance(), vxFuncBinder::iGet());
    EXPECT_EQ(secondInstance(), vxFuncBinder::iGet());
    firstRegister();
    int const before = firstClears();
    secondClear();
    cl();
    EXPECT_EQ(firstClears(), before + 2);
}
