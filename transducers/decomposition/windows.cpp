#include "transducers/decomposition/windows.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/decomposition/windows.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, block_lanes>;
using Indices = hn::Rebind<int32_t, Doubles>;

HWY_INLINE hn::Vec<Doubles> LoadWide(const double* values) {
    return hn::Load(Doubles(), values);
}

HWY_INLINE hn::Vec<Doubles> LoadWide(const float* values) {
    return hn::PromoteTo(Doubles(), hn::Load(hn::Rebind<float, Doubles>(), values));
}

// Sample numbers as indices in [0, ntimes]; 0 where they are not numbers.
HWY_INLINE hn::Vec<Indices> AsIndex(hn::Vec<Doubles> number, int32_t ntimes) {
    const Doubles d;
    const auto known = hn::IfThenElseZero(hn::Eq(number, number), number);
    const auto clamped = hn::Min(hn::Max(known, hn::Zero(d)), hn::Set(d, ntimes));
    return hn::DemoteTo(Indices(), clamped);
}

struct Bounds {
    hn::Vec<Indices> begin, end;
    hn::Mask<Indices> empty;
};

// u_begin, u_end: seconds from the first sample to the wave's begin and to its end.
HWY_INLINE Bounds RoundedWindow(const WindowRule& rule, hn::Vec<Doubles> u_begin,
                                hn::Vec<Doubles> u_end, hn::Mask<Indices> reached,
                                bool begin_rounded_down = false) {
    const Doubles d;
    const auto inverse_step = hn::Set(d, rule.inverse_step);
    const auto exact_first = hn::Mul(u_begin, inverse_step);
    const auto first = begin_rounded_down ? hn::Floor(exact_first) : hn::Ceil(exact_first);
    const auto last = hn::Floor(hn::Mul(u_end, inverse_step));
    Bounds window;
    window.begin = AsIndex(first, rule.ntimes);
    window.end = AsIndex(hn::Add(last, hn::Set(d, 1.0)), rule.ntimes);
    window.empty = hn::Not(hn::And(hn::Lt(window.begin, window.end), reached));
    return window;
}

template <class Real>
HWY_INLINE void FindWindows(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<Real>& edge,
                            WindowBlock& windows) {
    constexpr int32_t none_yet = std::numeric_limits<int32_t>::max();
    const Doubles d;
    const Indices di;
    const int step = static_cast<int>(hn::Lanes(d));
    const auto delay = hn::Set(d, rule.time_delay);
    const auto t0 = hn::Set(d, rule.first_time);
    const auto w = hn::Set(d, rule.duration);
    const auto missing = hn::Set(di, -1);
    const auto none = hn::Set(di, none_yet);
    const Real* direct_end =
        by == DirectWaveBy::value ? edge.direct_delay.data() : edge.direct_end.data();

    for (int lane = 0; lane < block_lanes; lane += step) {
        auto earliest = none;
        auto latest = missing;
        const auto store = [&](const Bounds& window, int32_t* begin, int32_t* end) HWY_ATTR {
            const auto last = hn::IfThenElse(window.empty, missing, window.end);
            hn::Store(hn::IfThenElse(window.empty, missing, window.begin), di, begin);
            hn::Store(last, di, end);
            earliest = hn::Min(earliest, hn::IfThenElse(window.empty, none, window.begin));
            latest = hn::Max(latest, last);
        };
        const auto is_reached = hn::Ne(hn::Load(di, edge.reached.data() + lane), hn::Zero(di));
        const auto samples = hn::Load(di, edge.samples.data() + lane);
        for (int i = 0; i < edge.size; ++i) {
            const int at = i * block_lanes + lane;
            const auto is_there = hn::And(hn::Gt(samples, hn::Set(di, i)), is_reached);
            const auto u = hn::Sub(hn::Add(LoadWide(edge.delay.data() + at), delay), t0);
            store(RoundedWindow(rule, u, hn::Add(u, w), is_there), windows.begin.data() + at,
                  windows.end.data() + at);
        }
        const auto begin_delay = hn::Add(LoadWide(edge.direct_begin.data() + lane), delay);
        const auto end_delay = hn::Add(delay, LoadWide(direct_end + lane));
        store(RoundedWindow(rule, hn::Sub(begin_delay, t0), hn::Sub(hn::Add(end_delay, w), t0),
                            is_reached, rule.direct_begin_rounded_down),
              windows.direct_begin.data() + lane, windows.direct_end.data() + lane);
        hn::Store(earliest, di, windows.earliest.data() + lane);
        hn::Store(latest, di, windows.latest.data() + lane);
    }
}

void FindWindowsSingle(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<float>& edge,
                       WindowBlock& windows) {
    FindWindows(rule, by, edge, windows);
}

void FindWindowsDouble(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<double>& edge,
                       WindowBlock& windows) {
    FindWindows(rule, by, edge, windows);
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void find_windows(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<float>& edge,
                  WindowBlock& windows) {
    KAVRO_KERNEL(FindWindowsSingle)(rule, by, edge, windows);
}

void find_windows(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<double>& edge,
                  WindowBlock& windows) {
    KAVRO_KERNEL(FindWindowsDouble)(rule, by, edge, windows);
}

}  // namespace kavro
#endif  // HWY_ONCE
