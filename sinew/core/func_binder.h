#pragma once

/// The switchboard for debug drawing. The library has no graphics of its own: a host registers callbacks here, and
/// geometric code, the library's or the host's, draws through them. Without callbacks every call does nothing.
///
/// There is one instance in a program, shared by all of its libraries. Its slots are null from the moment of loading
/// on, before any constructor runs. They are plain pointers without a lock: register at start-up. The functions are
/// the host's; the meaning of the int and double arguments is too.

#include <vector>

#include <sinew/core/vector3.h>

class SINEW_API vxFuncBinder
{
public:
    using DrawVector = void (*)(Vector3 const& a, Vector3 const& b, int i, double d);
    using DrawPoint = void (*)(Vector3 const& p, int i);
    using DrawPoints = void (*)(std::vector<Vector3> const& points, int i, int j);
    using Clear = void (*)();

    DrawVector drawVectorSlot = nullptr;
    DrawPoint drawPointSlot = nullptr;
    DrawPoints drawPointsSlot = nullptr;
    Clear clearSlot = nullptr;

    vxFuncBinder(vxFuncBinder const&) = delete;
    vxFuncBinder& operator=(vxFuncBinder const&) = delete;

    /// The instance; never null.
    static vxFuncBinder* iGet();

    /// Sets all four slots to null.
    void iReset();

    /// Store a callback; null unregisters. Nothing else changes.
    static void registerDrawVector(DrawVector f);
    static void registerDrawPoint(DrawPoint f);
    static void registerDrawPoints(DrawPoints f);
    static void registerClear(Clear f);

    /// Calls the draw-vector callback, if there is one, with the same arguments.
    static void drawVector(Vector3 const& a, Vector3 const& b, int i, double d);

    /// Calls the draw-point callback, if there is one, with the same arguments.
    static void drawPoint(Vector3 const& p, int i);

    /// Calls the draw-points callback with the same arguments if a draw-point callback is registered: register both
    /// together. With the draw-points callback alone nothing is drawn; with the draw-point callback alone the behaviour
    /// is undefined.
    static void drawPoints(std::vector<Vector3> const& points, int i, int j);

    /// Calls the clear callback, if there is one.
    static void clear();

private:
    constexpr vxFuncBinder() = default;
    static vxFuncBinder instance_;
};

/// `vxFuncBinder::drawVector`.
SINEW_API void dVecSc(Vector3& a, Vector3& b, int i, double d);

/// `vxFuncBinder::drawVector` with the double 0.1.
SINEW_API void dVec(Vector3& a, Vector3& b, int i);

/// `vxFuncBinder::drawPoint`.
SINEW_API void dPnt(Vector3& p, int i);

/// `vxFuncBinder::clear`.
SINEW_API void cl();
