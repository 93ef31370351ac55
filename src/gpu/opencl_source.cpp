#include "gpu/opencl_source.h"

namespace kyf {

// Comments take up what the code leaves of the length.
constexpr char g_frameKernelText[] = R"(// From a frame to its edge strength. A work item makes one pixel.

// The CPU rounds after each operation, and so shall the device.
#pragma OPENCL FP_CONTRACT OFF

// Seven taps that add up to 0.
constant double HIGHPASSFILTER[7] = {
  -0.061487, -0.127437, -0.193436, 0.764720, -0.193436, -0.127437, -0.061487
};

// Shrinks a colour image of three bytes a pixel. Of a ratio only the whole part counts.
kernel void reduction_down_ave(global uchar *dest_data, global const uchar *src_data, int dest_height, int dest_width,
    int src_height, int src_width, double x_ratio, double y_ratio, double dx, double dy) {
  int k = get_global_id(0), i = get_global_id(1);
  if (i >= dest_height || k >= dest_width) return;

  int yy = (int)(y_ratio * i), xx = (int)(x_ratio * k);
  int first = 0, second = 0, third = 0;
  for (int j = 0; j < dy - 1; ++j) {
    long row = clamp(yy + j, 0, src_height - 1);
    for (int l = 0; l < dx - 1; ++l) {
      long column = clamp(xx + l, 0, src_width - 1);
      global const uchar *pixel = src_data + (row * src_width + column) * 3;
      first += pixel[0];
      second += pixel[1];
      third += pixel[2];
    }
  }

  int divisor = (int)y_ratio * (int)x_ratio;
  global uchar *dest = dest_data + ((long)i * dest_width + k) * 3;
  dest[0] = clamp(first / divisor, 0, 255);
  dest[1] = clamp(second / divisor, 0, 255);
  dest[2] = clamp(third / divisor, 0, 255);
}

// The middle byte of each pixel.
kernel void copy_green(global double *dest_data, global const uchar *src_data, int dest_height, int dest_width) {
  int j = get_global_id(0), i = get_global_id(1);
  if (i >= dest_height || j >= dest_width) return;
  long at = (long)i * dest_width + j;
  dest_data[at] = src_data[at * 3 + 1];
}

// Weighted sums inside a margin, stored from column 0 on. Samples outside are folded back.
kernel void multi_filter(global double *dest_data, global const double *src_data, int src_height, int src_width,
    int edge_area, global const double *matrix, int m_size) {
  int j = get_global_id(0), i = get_global_id(1);
  int min_x = edge_area, max_x = src_width - edge_area;
  int min_y = edge_area, max_y = src_height - edge_area;
  if (i >= max_y - min_y || j >= max_x - min_x) return;

  int center_x = j + min_x, center_y = i + min_y;
  double total = 0;
  for (int k = 0; k < m_size; ++k) {
    for (int l = 0; l < m_size; ++l) {
      int x = center_x - m_size / 2 + l, y = center_y - m_size / 2 + k;
      if (x < min_x) x = center_x + l + 1;
      if (x >= max_x) x = center_x - l - 1;
      if (y < min_y) y = center_y + k + 1;
      if (y >= max_y) y = center_y - k - 1;
      long at = (long)clamp(y, 0, src_height - 1) * src_width + clamp(x, 0, src_width - 1);
      total += matrix[k * m_size + l] * src_data[at];
    }
  }
  dest_data[(long)center_y * src_width + j] = total;
}

// The near end is mirrored at its sample, the far end behind it.
int mirrored(int index, int size) {
  if (index < 0) index = -index;
  if (index >= size) index = size - 1 - (index - size);
  return clamp(index, 0, size - 1);
}

// The gradient's length.
kernel void high_pass_filter(global double *dest_data, global const double *src_data, int src_height, int src_width) {
  int j = get_global_id(0), i = get_global_id(1);
  if (i >= src_height || j >= src_width) return;

  double total_x = 0, total_y = 0;
  for (int k = 0; k < 7; ++k) {
    long index_x = mirrored(j + k - 3, src_width);
    long index_y = mirrored(i + k - 3, src_height);
    total_x += HIGHPASSFILTER[k] * src_data[(long)i * src_width + index_x];
    total_y += HIGHPASSFILTER[k] * src_data[index_y * src_width + j];
  }
  dest_data[(long)i * src_width + j] = sqrt(total_x * total_x + total_y * total_y);
}

// Window means: gradient less blurred gradient, and brightness.
kernel void total_data(global double *current_image_data, global double *current_kido_data, int current_image_height,
    int current_image_width, global const double *n_bibun_data, global const double *n_bokashi_bibun_data,
    global const double *kido_src_data, int n_src_height, int n_src_width, double h_ratio, double w_ratio,
    int harf_area_size) {
  int j = get_global_id(0), i = get_global_id(1);
  if (i >= current_image_height || j >= current_image_width) return;

  int center_y = (int)(h_ratio * i), center_x = (int)(w_ratio * j);
  int top = max(center_y - harf_area_size, 0);
  int bottom = min(center_y + harf_area_size, n_src_height);
  int left = max(center_x - harf_area_size, 0);
  int right = min(center_x + harf_area_size, n_src_width);
  double total_bibun = 0, total_b_bibun = 0, total_kido = 0;
  int n = 0;
  for (int ii = top; ii < bottom; ++ii) {
    for (int jj = left; jj < right; ++jj) {
      long at = (long)ii * n_src_width + jj;
      total_bibun += n_bibun_data[at];
      total_b_bibun += n_bokashi_bibun_data[at];
      total_kido += kido_src_data[at];
      ++n;
    }
  }

  double data = (total_bibun / n - total_b_bibun / n) * 50;
  long at = (long)i * current_image_width + j;
  current_image_data[at] = data > 0 ? data : 0;
  current_kido_data[at] = total_kido / n;
}
)";
static_assert(sizeof g_frameKernelText == kFrameKernelBytes + 1);

// An even window reaches as far up as down, and so is one wider than its size.
constexpr char g_medianKernelText[] = R"(// Median of the samples that count in the square around each pixel.
#define SIDE (FILTER_SIZE | 1)

kernel void f(global ushort *pDestImage, global const ushort *pHeightImage, global const uchar *pMaskImage, int height,
    int width) {
  int j = get_global_id(0), i = get_global_id(1);
  if (i >= height || j >= width) return;

  long center = (long)i * width + j;
  if (pMaskImage[center] != 0) {
    pDestImage[center] = pHeightImage[center];
    return;
  }

  ushort first[SIDE * SIDE], second[SIDE * SIDE];
  int count = 0;
  for (int l = -HALF_FILTER_SIZE; l <= HALF_FILTER_SIZE; ++l) {
    for (int k = -HALF_FILTER_SIZE; k <= HALF_FILTER_SIZE; ++k) {
      int y = i + l, x = j + k;
      if (y < 0 || y >= height || x < 0 || x >= width) continue;
      long at = (long)y * width + x;
      if (pMaskImage[at] == 0) first[count++] = pHeightImage[at];
    }
  }

  // Runs of 1, 2, 4, ... are merged in pairs, to and fro between the two arrays.
  ushort *from = first, *to = second;
  for (int run = 1; run < count; run *= 2) {
    for (int start = 0; start < count; start += 2 * run) {
      int left = start, middle = min(start + run, count), end = min(start + 2 * run, count);
      int right = middle;
      for (int at = start; at < end; ++at) {
        bool takesRight = left >= middle || (right < end && !(from[left] < from[right]));
        to[at] = takesRight ? from[right++] : from[left++];
      }
    }
    ushort *merged = to;
    to = from;
    from = merged;
  }
  pDestImage[center] = from[count / 2];
}
)";

} // namespace kyf
