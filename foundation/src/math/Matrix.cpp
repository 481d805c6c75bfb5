// Matrix arithmetic.
#include <qs/Math.h>

namespace {

// Determinant of the 3x3 matrix that is left without a row and a column.
float Minor(const Matrix4x4f& a, int row, int column)
{
    int r[3], c[3];
    for (int i = 0, n = 0; i < 4; ++i) {
        if (i != row) {
            r[n++] = i;
        }
    }
    for (int i = 0, n = 0; i < 4; ++i) {
        if (i != column) {
            c[n++] = i;
        }
    }
    return a(r[0], c[0]) * (a(r[1], c[1]) * a(r[2], c[2]) - a(r[1], c[2]) * a(r[2], c[1])) -
           a(r[0], c[1]) * (a(r[1], c[0]) * a(r[2], c[2]) - a(r[1], c[2]) * a(r[2], c[0])) +
           a(r[0], c[2]) * (a(r[1], c[0]) * a(r[2], c[1]) - a(r[1], c[1]) * a(r[2], c[0]));
}

// A determinant of 0, or one that is no number, has no reciprocal.
bool HasInverse(float determinant)
{
    return std::isfinite(determinant) && determinant != 0.0f && std::isfinite(1.0f / determinant);
}

} // namespace

Matrix3x3f Matrix3x3f::Transposed() const
{
    Matrix3x3f result;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            result(column, row) = (*this)(row, column);
        }
    }
    return result;
}

float Matrix3x3f::Determinant() const
{
    return GetRow(0).Dot(GetRow(1).Cross(GetRow(2)));
}

Matrix3x3f Matrix3x3f::Inverted() const
{
    const float determinant = Determinant();
    if (!HasInverse(determinant)) {
        return {};
    }
    // The columns of the inverse are cross products of the rows.
    const float scale = 1.0f / determinant;
    Matrix3x3f columns;
    columns.SetRow(0, GetRow(1).Cross(GetRow(2)) * scale);
    columns.SetRow(1, GetRow(2).Cross(GetRow(0)) * scale);
    columns.SetRow(2, GetRow(0).Cross(GetRow(1)) * scale);
    return columns.Transposed();
}

Matrix4x4f Matrix4x4f::Zero()
{
    Matrix4x4f result;
    for (float& element : result.m) {
        element = 0.0f;
    }
    return result;
}

Matrix4x4f Matrix4x4f::Transposed() const
{
    Matrix4x4f result;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            result(column, row) = (*this)(row, column);
        }
    }
    return result;
}

float Matrix4x4f::Determinant() const
{
    float sum = 0.0f;
    for (int column = 0; column < 4; ++column) {
        sum += (column % 2 ? -1.0f : 1.0f) * (*this)(0, column) * Minor(*this, 0, column);
    }
    return sum;
}

Matrix4x4f Matrix4x4f::Inverted() const
{
    const float determinant = Determinant();
    if (!HasInverse(determinant)) {
        return {};
    }
    Matrix4x4f result;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            const float sign = (row + column) % 2 ? -1.0f : 1.0f;
            result(column, row) = sign * Minor(*this, row, column) / determinant;
        }
    }
    return result;
}

Vector3f Matrix4x4f::TransformPoint(const Vector3f& point) const
{
    return TransformVector(point) + GetTranslate();
}

Vector3f Matrix4x4f::TransformVector(const Vector3f& vector) const
{
    const Vector4f result = Vector4f(vector.x, vector.y, vector.z, 0.0f) * *this;
    return {result.x, result.y, result.z};
}

Vector3f operator*(const Vector3f& row, const Matrix3x3f& matrix)
{
    return matrix.GetRow(0) * row.x + matrix.GetRow(1) * row.y + matrix.GetRow(2) * row.z;
}

Vector4f operator*(const Vector4f& row, const Matrix4x4f& matrix)
{
    const float* m = matrix.m;
    return {row.x * m[0] + row.y * m[4] + row.z * m[8] + row.w * m[12],
            row.x * m[1] + row.y * m[5] + row.z * m[9] + row.w * m[13],
            row.x * m[2] + row.y * m[6] + row.z * m[10] + row.w * m[14],
            row.x * m[3] + row.y * m[7] + row.z * m[11] + row.w * m[15]};
}

Matrix3x3f operator*(const Matrix3x3f& a, const Matrix3x3f& b)
{
    Matrix3x3f result;
    for (int row = 0; row < 3; ++row) {
        result.SetRow(row, a.GetRow(row) * b);
    }
    return result;
}

Matrix4x4f operator*(const Matrix4x4f& a, const Matrix4x4f& b)
{
    Matrix4x4f result;
    for (int row = 0; row < 4; ++row) {
        const float* r = a.m + row * 4;
        const Vector4f product = Vector4f(r[0], r[1], r[2], r[3]) * b;
        result(row, 0) = product.x;
        result(row, 1) = product.y;
        result(row, 2) = product.z;
        result(row, 3) = product.w;
    }
    return result;
}
