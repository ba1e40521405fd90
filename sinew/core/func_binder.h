#pragma once

/// Debug drawing. The library contains no graphics: a host registers callbacks here, and geometric code of the
/// library or of the host draws through them. A call without a registered callback does nothing.

#include <vector>

#include <sinew/core/vector3.h>

/// The four drawing callbacks of the host.
///
/// One instance exists in a program; all libraries of the program share it, even if several of them contain the
/// static library. Its four slots are null when the library is loaded, before any constructor runs. The host owns the
/// functions and defines the meaning of their int and double arguments. The slots are pointers without a lock:
/// register the callbacks before drawing begins.
class SINEW_API vxFuncBinder
{
public:
    /// Draws the vector that `a` and `b` define.
    using DrawVector = void (*)(::Vector3 const& a, ::Vector3 const& b, int i, double d);
    /// Draws one point.
    using DrawPoint = void (*)(::Vector3 const& p, int i);
    /// Draws a set of points.
    using DrawPoints = void (*)(std::vector<::Vector3> const& points, int i, int j);
    /// Clears the debug display.
    using Clear = void (*)();

    /// The registered callbacks; null where there is none.
    DrawVector drawVectorSlot = nullptr;
    DrawPoint drawPointSlot = nullptr;
    DrawPoints drawPointsSlot = nullptr;
    Clear clearSlot = nullptr;

    vxFuncBinder(vxFuncBinder const&) = delete;
    vxFuncBinder& operator=(vxFuncBinder const&) = delete;

    /// The instance. Never null.
    static vxFuncBinder* iGet();

    /// Sets all four slots to null.
    void iReset();

    /// Stores `f` in the slot of its kind; null removes the callback. The other slots are unchanged.
    static void registerDrawVector(DrawVector f);
    static void registerDrawPoint(DrawPoint f);
    static void registerDrawPoints(DrawPoints f);
    static void registerClear(Clear f);

    /// Calls the draw-vector callback with the same arguments, if one is registered.
    static void drawVector(::Vector3 const& a, ::Vector3 const& b, int i, double d);

    /// Calls the draw-point callback with the same arguments, if one is registered.
    static void drawPoint(::Vector3 const& p, int i);

    /// Calls the draw-points callback with the same arguments, if a draw-point callback is registered. Register both
    /// callbacks together: with the draw-points callback alone nothing is drawn, and with the draw-point callback
    /// alone the behaviour is undefined.
    static void drawPoints(std::vector<::Vector3> const& points, int i, int j);

    /// Calls the clear callback, if one is registered.
    static void clear();

private:
    constexpr vxFuncBinder() = default;
    static vxFuncBinder instance_;
};

/// Calls `vxFuncBinder::drawVector`.
SINEW_API void dVecSc(::Vector3& a, ::Vector3& b, int i, double d);

/// Calls `vxFuncBinder::drawVector` with the double 0.1.
SINEW_API void dVec(::Vector3& a, ::Vector3& b, int i);

/// Calls `vxFuncBinder::drawPoint`.
SINEW_API void dPnt(::Vector3& p, int i);

/// Calls `vxFuncBinder::clear`.
SINEW_API void cl();
