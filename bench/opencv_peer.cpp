// OpenCV, on one thread. What it computes differently:
//   bilinear  pixel centres are aligned, not corners; 8 bit in fixed point with 11 fractional bits
//             and rounding, 16 bit in single precision
//   cubic     pixel centres; a = -3/4 where ours is -1/2; single precision throughout
//   area      the same areas; whole ratios as plain means, rounded to nearest
//   nearest   the sample at floor(x scale), columns in a table
// Where the type changes there are two steps: conversion before or after, whichever is smaller.

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "bench/builder_peers.h"
#include "bench/image_task.h"
#include "bench/matrix_task.h"

namespace bench {
namespace {

int depth_of(sample type) {
  switch (type) {
    case sample::u8:
      return CV_8U;
    case sample::u16:
      return CV_16U;
    case sample::u32:
      return CV_32S;
    case sample::f32:
      break;
  }
  return CV_32F;
}

int interpolation_of(method how) {
  switch (how) {
    case method::bilinear:
      return cv::INTER_LINEAR;
    case method::cubic:
      return cv::INTER_CUBIC;
    case method::area:
      return cv::INTER_AREA;
    case method::nearest:
      break;
  }
  return cv::INTER_NEAREST;
}

cv::Mat matrix_of(const plane& from) {
  return cv::Mat(static_cast<int>(from.height), static_cast<int>(from.width), depth_of(from.type),
                 from.memory.get(), from.stride);
}

cv::Size size_of(const image_size& size) {
  return cv::Size(static_cast<int>(size.width), static_cast<int>(size.height));
}

}  // namespace

job opencv_image_job(const image_task& task) {
  cv::setNumThreads(1);
  if (task.from == sample::u32 && task.how != method::nearest) return nullptr;
  const plane source = with_noise(dense_plane(task.from, task.in.width, task.in.height));
  const image_size region = task.region();
  const cv::Mat src = matrix_of(source)(cv::Rect(
      cv::Point(static_cast<int>(task.left), static_cast<int>(task.top)), size_of(region)));
  const cv::Size size = size_of(task.out);
  const int how = interpolation_of(task.how);
  const int from = depth_of(task.from);
  const int to = depth_of(task.to);
  const cv::Mat resized(size, from);
  if (task.channel_step > 1) {
    const cv::Mat channels =
        cv::Mat::zeros(size, CV_MAKETYPE(from, static_cast<int>(task.channel_step)));
    return [source, src, resized, channels, size, how]() {
      cv::resize(src, resized, size, 0, 0, how);
      cv::insertChannel(resized, channels, 0);
    };
  }
  if (from == to)
    return [source, src, resized, size, how] { cv::resize(src, resized, size, 0, 0, how); };
  const cv::Mat result(size, to);
  if (region.samples() <= task.out.samples()) {
    const cv::Mat converted(src.size(), to);
    return [source, src, converted, result, size, how, to, scale = task.scale] {
      src.convertTo(converted, to, scale);
      cv::resize(converted, result, size, 0, 0, how);
    };
  }
  return [source, src, resized, result, size, how, to, scale = task.scale] {
    cv::resize(src, resized, size, 0, 0, how);
    resized.convertTo(result, to, scale);
  };
}

job opencv_transpose_job(const matrix_task& task) {
  cv::setNumThreads(1);
  const plane source = with_noise(dense_plane(sample::f32, task.inner, task.height));
  const plane result = dense_plane(sample::f32, task.height, task.inner);
  const cv::Mat src = matrix_of(source);
  const cv::Mat dst = matrix_of(result);
  return [source, result, src, dst] { cv::transpose(src, dst); };
}

job opencv_gain_tables_job(const module_grids& grids, const image_size& out) {
  cv::setNumThreads(1);
  struct planes {
    std::vector<plane> sources;
    std::vector<cv::Mat> from, resized;
    std::vector<cv::Mat> to;
    cv::Mat converted;
  };
  const auto made = std::make_shared<planes>();
  const cv::Size size = size_of(out);
  for (size_t set = 0; set < grids.sets; ++set)
    for (size_t channel = 0; channel < 4; ++channel) {
      made->sources.push_back(with_noise(dense_plane(sample::u16, grids.width, grids.height)));
      made->from.push_back(matrix_of(made->sources.back()));
      made->resized.emplace_back(size, CV_32F);
      made->to.emplace_back(size, CV_32F);
    }
  return [made, size] {
    for (size_t i = 0; i < made->from.size(); ++i) {
      made->from[i].convertTo(made->converted, CV_32F);
      cv::resize(made->converted, made->resized[i], size, 0, 0, cv::INTER_CUBIC);
      made->resized[i].convertTo(made->to[i], CV_32F, 1.0 / 1024, 1);
    }
  };
}

}  // namespace bench
