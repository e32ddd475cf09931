#pragma once

namespace eboDsp {

/// How many floats one instruction works on. Every width gives the same bits: lanes are independent filters
/// or outputs, never parts of one sum.
enum class VectorWidth : int { k4 = 4, k8 = 8, k16 = 16 };

/// The widest that this processor has. (4 everywhere; 8 with AVX2, 16 with AVX-512F.)
[[nodiscard]] VectorWidth widestVectors();

}  // namespace eboDsp
