#pragma once
#include "platform/image.h"

#include <memory>

namespace vireo {

/// The converter that every program uses. Raw data with Bayer tiles is interpolated linearly; it must be
/// at least 3 x 3 pixels, smaller is ConversionFailed.
///
/// The imaging library's own threads are switched off for the whole process: conversion runs on grab
/// threads, and a pool behind them would take the processor from the other cameras.
std::unique_ptr<PixelConverter> MakePixelConverter();

} // namespace vireo
