// The kernels of the CUDA back end: one thread a result, column in dimension 0 and row in dimension 1 of the grid, which
// is rounded up to whole blocks. Images are dense rows. Compile with --fmad=false: the double stages give the bits of the
// stages on the processor, which round after every operation.
//
// The file keeps to what a C++ compiler for the host takes, given the few words of the device: the tests run it so.

namespace {

__constant__ double HIGHPASSFILTER[7] = {-0.061487, -0.127437, -0.193436, 0.764720, -0.193436, -0.127437, -0.061487};

__device__ int Column() { return static_cast<int>(blockIdx.x * blockDim.x + threadIdx.x); }
__device__ int Row() { return static_cast<int>(blockIdx.y * blockDim.y + threadIdx.y); }

__device__ int Clamp(int value, int low, int high) { return value < low ? low : value > high ? high : value; }

__device__ long long At(int row, int column, int width) { return static_cast<long long>(row) * width + column; }

// A sample before the edge is mirrored at the edge sample, one behind it at the edge itself. Images shorter than the
// filter's reach are read at their edge.
__device__ int Mirror(int index, int size) {
    if (index < 0) index = -index;
    if (index >= size) index = size - 1 - (index - size);
    return Clamp(index, 0, size - 1);
}

// Past an edge the blur reads on the other side of its centre, further out with each weight.
__device__ int Fold(int centre, int weight, int half, int low, int high, int size) {
    int index = centre - half + weight;
    if (index < low) index = centre + weight + 1;
    if (index >= high) index = centre - weight - 1;
    return Clamp(index, 0, size - 1);
}

struct Window {
    int Left;
    int Top;
    int Right;
    int Bottom;
};

__device__ Window ClippedWindow(int centerX, int centerY, int reach, int width, int height) {
    Window window;
    window.Left = centerX - reach > 0 ? centerX - reach : 0;
    window.Top = centerY - reach > 0 ? centerY - reach : 0;
    window.Right = centerX + reach < width ? centerX + reach : width;
    window.Bottom = centerY + reach < height ? centerY + reach : height;
    return window;
}

// Samples of the window whose mask is 0 and whose bits above `bits` are those of `prefix`, with bit `bits` clear.
__device__ int CountClear(const unsigned short* samples, const unsigned char* mask, const Window& window, int width,
                          int bits, int prefix) {
    int count = 0;
    for (int y = window.Top; y < window.Bottom; ++y)
        for (int x = window.Left; x < window.Right; ++x)
            if (mask[At(y, x, width)] == 0 && samples[At(y, x, width)] >> bits == prefix << 1) ++count;
    return count;
}

__device__ int CountGood(const unsigned char* mask, const Window& window, int width) {
    int count = 0;
    for (int y = window.Top; y < window.Bottom; ++y)
        for (int x = window.Left; x < window.Right; ++x)
            if (mask[At(y, x, width)] == 0) ++count;
    return count;
}

} // namespace

// Averages blocks of packed pixels. A block ends below dy - 1 and dx - 1; its sum is divided by the truncated ratios.
extern "C" __global__ void reduction_down_ave(unsigned char* dest_data, const unsigned char* src_data, int dest_height,
                                              int dest_width, int src_height, int src_width, double x_ratio,
                                              double y_ratio, double dx, double dy) {
    const int k = Column();
    const int i = Row();
    if (i >= dest_height || k >= dest_width) return;
    const int yy = static_cast<int>(y_ratio * i);
    const int xx = static_cast<int>(x_ratio * k);
    int sums[3] = {0, 0, 0};
    for (int j = 0; j < dy - 1; ++j) {
        const int row = Clamp(yy + j, 0, src_height - 1);
        for (int l = 0; l < dx - 1; ++l) {
            const unsigned char* pixel = src_data + At(row, Clamp(xx + l, 0, src_width - 1), src_width) * 3;
            for (int c = 0; c < 3; ++c) sums[c] += pixel[c];
        }
    }
    const int divisor = static_cast<int>(y_ratio) * static_cast<int>(x_ratio);
    for (int c = 0; c < 3; ++c)
        dest_data[At(i, k, dest_width) * 3 + c] = static_cast<unsigned char>(Clamp(sums[c] / divisor, 0, 255));
}

extern "C" __global__ void copy_green(double* dest_data, const unsigned char* src_data, int dest_height,
                                      int dest_width) {
    const int j = Column();
    const int i = Row();
    if (i >= dest_height || j >= dest_width) return;
    dest_data[At(i, j, dest_width)] = src_data[At(i, j, dest_width) * 3 + 1];
}

// With a margin the rows of the result stand `edge_area` columns further left than the image's.
extern "C" __global__ void multi_filter(double* dest_data, const double* src_data, int src_height, int src_width,
                                        int edge_area, const double* matrix, int m_size) {
    const int j = Column();
    const int i = Row();
    const int max_x = src_width - edge_area;
    const int max_y = src_height - edge_area;
    if (i >= max_y - edge_area || j >= max_x - edge_area) return;
    const int center_x = j + edge_area;
    const int center_y = i + edge_area;
    double sum = 0.0;
    for (int k = 0; k < m_size; ++k) {
        const int y = Fold(center_y, k, m_size / 2, edge_area, max_y, src_height);
        for (int l = 0; l < m_size; ++l) {
            const int x = Fold(center_x, l, m_size / 2, edge_area, max_x, src_width);
            sum += matrix[k * m_size + l] * src_data[At(y, x, src_width)];
        }
    }
    dest_data[At(center_y, j, src_width)] = sum;
}

extern "C" __global__ void high_pass_filter(double* dest_data, const double* src_data, int src_height, int src_width) {
    const int j = Column();
    const int i = Row();
    if (i >= src_height || j >= src_width) return;
    double total_x = 0.0;
    double total_y = 0.0;
    for (int k = 0; k < 7; ++k) {
        total_x += HIGHPASSFILTER[k] * src_data[At(i, Mirror(j + k - 3, src_width), src_width)];
        total_y += HIGHPASSFILTER[k] * src_data[At(Mirror(i + k - 3, src_height), j, src_width)];
    }
    dest_data[At(i, j, src_width)] = sqrt(total_x * total_x + total_y * total_y);
}

// Edge strength and luminance: means over windows of twice `harf_area_size`, without their last row and column.
extern "C" __global__ void total_data(double* current_image_data, double* current_kido_data, int current_image_height,
                                      int current_image_width, const double* n_bibun_data,
                                      const double* n_bokashi_bibun_data, const double* kido_src_data, int n_src_height,
                                      int n_src_width, double h_ratio, double w_ratio, int harf_area_size) {
    const int j = Column();
    const int i = Row();
    if (i >= current_image_height || j >= current_image_width) return;
    const Window window = ClippedWindow(static_cast<int>(w_ratio * j), static_cast<int>(h_ratio * i), harf_area_size,
                                        n_src_width, n_src_height);
    double total_bibun = 0.0;
    double total_b_bibun = 0.0;
    double total_kido = 0.0;
    int n = 0;
    for (int ii = window.Top; ii < window.Bottom; ++ii) {
        for (int jj = window.Left; jj < window.Right; ++jj, ++n) {
            total_bibun += n_bibun_data[At(ii, jj, n_src_width)];
            total_b_bibun += n_bokashi_bibun_data[At(ii, jj, n_src_width)];
            total_kido += kido_src_data[At(ii, jj, n_src_width)];
        }
    }
    const double data = ((total_bibun / n) - (total_b_bibun / n)) * 50;
    current_image_data[At(i, j, current_image_width)] = data < 0.0 ? 0.0 : data;
    current_kido_data[At(i, j, current_image_width)] = total_kido / n;
}

// Masked median, the upper middle sample of an even count. Found bit by bit from the highest, so that a window of any
// size needs no memory of its own.
//
// The mask is taken as the bytes that the host uploads: one a pixel, from the start of an array that has two a pixel,
// low byte first. So an even pixel has the mask of the pixel at half its index, and an odd one has 0.
extern "C" __global__ void middle_filter(unsigned short* pDestImage, const unsigned short* pHeightImage,
                                         const unsigned char* pMaskImage, int height, int width, int filter_size) {
    const int j = Column();
    const int i = Row();
    if (i >= height || j >= width) return;
    if (pMaskImage[At(i, j, width)] != 0) {
        pDestImage[At(i, j, width)] = pHeightImage[At(i, j, width)];
        return;
    }
    const int half = filter_size / 2;
    Window window = ClippedWindow(j, i, half, width, height);
    if (j + half < width) window.Right = j + half + 1;
    if (i + half < height) window.Bottom = i + half + 1;
    int rank = CountGood(pMaskImage, window, width) / 2;
    int median = 0;
    for (int bits = 15; bits >= 0; --bits) {
        const int clear = CountClear(pHeightImage, pMaskImage, window, width, bits, median);
        median <<= 1;
        if (rank < clear) continue;
        rank -= clear;
        median |= 1;
    }
    pDestImage[At(i, j, width)] = static_cast<unsigned short>(median);
}
