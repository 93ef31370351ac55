#include "gpu/fake_cuda_kernels.h"

#include <cmath>
#include <tuple>
#include <type_traits>
#include <utility>

#include "gpu/cuda_launch.h"
#include "gpu/device_words.h"

#include "gpu/CUDAKernels.cu"

namespace test {

namespace {

constexpr unsigned int kBlock = 16;

// What the host hands over for an argument of a kernel: addresses as numbers.
template <typename T> using HostForm = std::conditional_t<std::is_pointer_v<T>, kyf::CUdeviceptr, T>;
template <typename... A> kyf::CudaKernel<void(HostForm<A>...)> HostKernel(void (*)(A...));

static_assert(std::is_same_v<decltype(HostKernel(reduction_down_ave)), kyf::ReductionDownAve>);
static_assert(std::is_same_v<decltype(HostKernel(copy_green)), kyf::CopyGreen>);
static_assert(std::is_same_v<decltype(HostKernel(multi_filter)), kyf::MultiFilter>);
static_assert(std::is_same_v<decltype(HostKernel(high_pass_filter)), kyf::HighPassFilter>);
static_assert(std::is_same_v<decltype(HostKernel(total_data)), kyf::TotalData>);
static_assert(std::is_same_v<decltype(HostKernel(middle_filter)), kyf::MedianOnCuda>);

/// Collects what is wrong with a launch.
class Check {
  public:
    Check(FakeCudaState& state, const char* kernel, const Grid& grid)
        : m_state(state), m_kernel(kernel), m_grid(grid) {}

    void That(bool holds, const std::string& claim) {
        if (!holds) m_state.Complaints.push_back(std::string(m_kernel) + ": " + claim);
    }
    template <typename T> void Covers(const T* memory, int height, int width, int values, const char* name) {
        const auto bytes = static_cast<std::size_t>(height) * static_cast<std::size_t>(width) *
                           static_cast<std::size_t>(values) * sizeof(T);
        const auto found = m_state.Memory.find(reinterpret_cast<std::uint64_t>(memory));
        That(found == m_state.Memory.end() || found->second == bytes, std::string("size of ") + name);
    }
    void GridCovers(int width, int height) {
        That(m_grid.X == (static_cast<unsigned int>(width) + kBlock - 1) / kBlock, "grid along x");
        That(m_grid.Y == (static_cast<unsigned int>(height) + kBlock - 1) / kBlock, "grid along y");
    }
    void IsRatio(double ratio, int from, int to, const char* name) {
        That(ratio == static_cast<double>(from) / to, name);
    }

  private:
    FakeCudaState& m_state;
    const char* m_kernel;
    Grid m_grid;
};

void CheckArguments(
    Check& check,
    std::tuple<unsigned char*, const unsigned char*, int, int, int, int, double, double, double, double> arguments) {
    const auto [dest, source, height, width, sourceHeight, sourceWidth, xRatio, yRatio, dx, dy] = arguments;
    check.Covers(dest, height, width, 3, "dest_data");
    check.Covers(source, sourceHeight, sourceWidth, 3, "src_data");
    check.IsRatio(xRatio, sourceWidth, width, "x_ratio");
    check.IsRatio(yRatio, sourceHeight, height, "y_ratio");
    check.That(dx == (xRatio == std::floor(xRatio) ? xRatio + 1 : xRatio), "dx");
    check.That(dy == (yRatio == std::floor(yRatio) ? yRatio + 1 : yRatio), "dy");
    check.GridCovers(width, height);
}

void CheckArguments(Check& check, std::tuple<double*, const unsigned char*, int, int> arguments) {
    const auto [dest, source, height, width] = arguments;
    check.Covers(dest, height, width, 1, "dest_data");
    check.Covers(source, height, width, 3, "src_data");
    check.GridCovers(width, height);
}

void CheckArguments(Check& check, std::tuple<double*, const double*, int, int, int, const double*, int> arguments) {
    const auto [dest, source, height, width, edge, matrix, size] = arguments;
    check.Covers(dest, height, width, 1, "dest_data");
    check.Covers(source, height, width, 1, "src_data");
    check.Covers(matrix, size, size, 1, "matrix");
    check.That(!dest || dest != source, "in place");
    check.GridCovers(width - 2 * edge, height - 2 * edge);
}

void CheckArguments(Check& check, std::tuple<double*, const double*, int, int> arguments) {
    const auto [dest, source, height, width] = arguments;
    check.Covers(dest, height, width, 1, "dest_data");
    check.Covers(source, height, width, 1, "src_data");
    check.That(!dest || dest != source, "in place");
    check.GridCovers(width, height);
}

void CheckArguments(
    Check& check,
    std::tuple<double*, double*, int, int, const double*, const double*, const double*, int, int, double, double, int>
        arguments) {
    const auto [edge, kido, height, width, bibun, bokashiBibun, kidoSource, sourceHeight, sourceWidth, hRatio, wRatio,
                half] = arguments;
    check.Covers(edge, height, width, 1, "current_image_data");
    check.Covers(kido, height, width, 1, "current_kido_data");
    check.Covers(bibun, sourceHeight, sourceWidth, 1, "n_bibun_data");
    check.Covers(bokashiBibun, sourceHeight, sourceWidth, 1, "n_bokashi_bibun_data");
    check.Covers(kidoSource, sourceHeight, sourceWidth, 1, "kido_src_data");
    check.IsRatio(hRatio, sourceHeight, height, "h_ratio");
    check.IsRatio(wRatio, sourceWidth, width, "w_ratio");
    check.That(half == 4, "harf_area_size");
    check.GridCovers(width, height);
}

void CheckArguments(Check& check,
                    std::tuple<unsigned short*, const unsigned short*, const unsigned char*, int, int, int> arguments) {
    const auto [dest, source, mask, height, width, size] = arguments;
    check.Covers(dest, height, width, 1, "pDestImage");
    check.Covers(source, height, width, 1, "pHeightImage");
    check.Covers(mask, height, width, 1, "pMaskImage");
    check.That(size > 0, "filter_size");
    check.GridCovers(width, height);
}

template <typename T> bool Lives(const FakeCudaState& state, T argument) {
    if constexpr (std::is_pointer_v<T>)
        return state.Memory.count(reinterpret_cast<std::uint64_t>(argument)) == 1;
    else
        return true;
}

template <typename Kernel, typename Arguments>
void RunThreads(Kernel kernel, const Arguments& arguments, const Grid& grid) {
    g_blockSize = {kBlock, kBlock};
    for (unsigned int y = 0; y < grid.Y * kBlock; ++y) {
        for (unsigned int x = 0; x < grid.X * kBlock; ++x) {
            g_block = {x / kBlock, y / kBlock};
            g_thread = {x % kBlock, y % kBlock};
            std::apply(kernel, arguments);
        }
    }
}

template <typename... A, std::size_t... I>
std::tuple<A...> ReadParameters(void (*)(A...), void** parameters, std::index_sequence<I...>) {
    return {*static_cast<const A*>(parameters[I])...};
}

template <typename... A> auto ReadParameters(void (*kernel)(A...), void** parameters) {
    return ReadParameters(kernel, parameters, std::index_sequence_for<A...>());
}

template <auto Kernel> bool Launch(FakeCudaState& state, const char* name, const Grid& grid, void** parameters) {
    const auto arguments = ReadParameters(Kernel, parameters);
    Check check(state, name, grid);
    CheckArguments(check, arguments);
    const bool lives = std::apply([&](const auto... argument) { return (Lives(state, argument) && ...); }, arguments);
    check.That(lives, "memory that does not live");
    if (lives) RunThreads(Kernel, arguments, grid);
    return lives;
}

#define KY_KERNEL(name)                                                                                                \
    FakeKernel {                                                                                                       \
#name, [](FakeCudaState & state, const Grid& grid,                                                             \
                  void** parameters) { return Launch<name>(state, #name, grid, parameters); }                          \
    }
const FakeKernel g_kernels[] = {KY_KERNEL(reduction_down_ave), KY_KERNEL(copy_green), KY_KERNEL(multi_filter),
                                KY_KERNEL(high_pass_filter),   KY_KERNEL(total_data), KY_KERNEL(middle_filter)};
#undef KY_KERNEL

} // namespace

const FakeKernel* FindKernel(const std::string& name) {
    for (const FakeKernel& kernel : g_kernels)
        if (name == kernel.Name) return &kernel;
    return nullptr;
}

} // namespace test
