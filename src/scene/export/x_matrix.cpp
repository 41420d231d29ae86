#include "scene/export/x_matrix.h"

#include <cmath>
#include <numbers>

// In double: an offset is a product of many bones, and an animated bone shows its rounding.
using Matrix = std::array<double, 16>;
using Quaternion = std::array<double, 4>; // w, x, y, z

static double radians(float degrees) {
    return degrees * std::numbers::pi / 180;
}

// Row vectors: `a` is applied first.
static Matrix multiply(const Matrix& a, const Matrix& b) {
    Matrix product{};
    for (size_t row = 0; row < 4; row++)
        for (size_t column = 0; column < 4; column++)
            for (size_t i = 0; i < 4; i++)
                product[row * 4 + column] += a[row * 4 + i] * b[i * 4 + column];
    return product;
}

static Matrix rotation(QbVec3 degrees) {
    double x = radians(degrees[0]), y = radians(degrees[1]), z = radians(degrees[2]);
    Matrix rx = {1, 0, 0, 0, 0, std::cos(x), std::sin(x), 0, 0, -std::sin(x), std::cos(x), 0, 0, 0, 0, 1};
    Matrix ry = {std::cos(y), 0, -std::sin(y), 0, 0, 1, 0, 0, std::sin(y), 0, std::cos(y), 0, 0, 0, 0, 1};
    Matrix rz = {std::cos(z), std::sin(z), 0, 0, -std::sin(z), std::cos(z), 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    return multiply(multiply(rx, ry), rz);
}

static Matrix placement(QbVec3 position, QbVec3 degrees, QbVec3 scale) {
    Matrix matrix = rotation(degrees);
    for (size_t row = 0; row < 3; row++)
        for (size_t column = 0; column < 3; column++)
            matrix[row * 4 + column] *= scale[row];
    for (size_t column = 0; column < 3; column++)
        matrix[12 + column] = position[column];
    return matrix;
}

// The inverse of a placement: back by the move, the turn and the scale.
static Matrix inversePlacement(const QbExportBoneKey& key) {
    Matrix turn = rotation(key.rotation);
    Matrix inverse{};
    for (size_t row = 0; row < 3; row++)
        for (size_t column = 0; column < 3; column++)
            inverse[row * 4 + column] = turn[column * 4 + row] / key.scale[column];
    for (size_t column = 0; column < 3; column++)
        for (size_t i = 0; i < 3; i++)
            inverse[12 + column] -= key.position[i] * inverse[i * 4 + column];
    inverse[15] = 1;
    return inverse;
}

static QbExportMatrix rounded(const Matrix& matrix) {
    QbExportMatrix floats;
    for (size_t i = 0; i < 16; i++)
        floats[i] = static_cast<float>(matrix[i]);
    return floats;
}

QbExportMatrix qbExportMatrix(QbVec3 position, QbVec3 degrees, QbVec3 scale) {
    return rounded(placement(position, degrees, scale));
}

static Quaternion multiply(const Quaternion& a, const Quaternion& b) {
    return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
            a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
            a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
            a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

std::array<float, 4> qbXKeyQuaternion(QbVec3 degrees) {
    double x = radians(degrees[0]) / 2, y = radians(degrees[1]) / 2, z = radians(degrees[2]) / 2;
    Quaternion turn = multiply(
        Quaternion{std::cos(z), 0, 0, std::sin(z)},
        multiply(Quaternion{std::cos(y), 0, std::sin(y), 0}, Quaternion{std::cos(x), std::sin(x), 0, 0}));
    return {static_cast<float>(turn[0]), static_cast<float>(-turn[1]), static_cast<float>(-turn[2]),
            static_cast<float>(-turn[3])};
}

std::vector<QbExportMatrix> qbXBoneOffsets(const QbExportMesh& mesh) {
    std::vector<Matrix> offsets(mesh.bones.size());
    std::vector<QbExportMatrix> floats;
    for (size_t i = 0; i < mesh.bones.size(); i++) {
        const QbExportBone& bone = mesh.bones[i];
        offsets[i] = inversePlacement(bone.rest);
        if (bone.parent >= 0) offsets[i] = multiply(offsets[static_cast<size_t>(bone.parent)], offsets[i]);
        floats.push_back(rounded(offsets[i]));
    }
    return floats;
}
