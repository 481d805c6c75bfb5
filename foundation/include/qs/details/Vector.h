// The global vector types. Their layout is their components, one after the other.
#pragma once

#include <cmath>

#include <qs/Types.h>

// The three widths differ only in their components, which a template could not name x, y, z and w.
#define QS_VECTOR_COMMON(Vector, Scalar)                                                                               \
    friend constexpr bool operator==(const Vector&, const Vector&) = default;                                          \
    constexpr Vector& operator+=(const Vector& o)                                                                      \
    {                                                                                                                  \
        return *this = *this + o;                                                                                      \
    }                                                                                                                  \
    constexpr Vector& operator-=(const Vector& o)                                                                      \
    {                                                                                                                  \
        return *this = *this - o;                                                                                      \
    }                                                                                                                  \
    constexpr Vector& operator*=(Scalar s)                                                                             \
    {                                                                                                                  \
        return *this = *this * s;                                                                                      \
    }                                                                                                                  \
    friend constexpr Vector operator*(Scalar s, const Vector& v)                                                       \
    {                                                                                                                  \
        return v * s;                                                                                                  \
    }

#define QS_VECTOR2(Vector, Scalar)                                                                                     \
    struct Vector                                                                                                      \
    {                                                                                                                  \
        Scalar x = 0, y = 0;                                                                                           \
        constexpr Vector() = default;                                                                                  \
        constexpr Vector(Scalar ax, Scalar ay) : x(ax), y(ay) {}                                                       \
        friend constexpr Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y}; }         \
        friend constexpr Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y}; }         \
        friend constexpr Vector operator-(const Vector& a) { return {-a.x, -a.y}; }                                    \
        friend constexpr Vector operator*(const Vector& a, Scalar s) { return {a.x * s, a.y * s}; }                    \
        constexpr Scalar Dot(const Vector& o) const { return x * o.x + y * o.y; }                                      \
        QS_VECTOR_COMMON(Vector, Scalar)                                                                               \
    };

#define QS_VECTOR3(Vector, Scalar)                                                                                     \
    struct Vector                                                                                                      \
    {                                                                                                                  \
        Scalar x = 0, y = 0, z = 0;                                                                                    \
        constexpr Vector() = default;                                                                                  \
        constexpr Vector(Scalar ax, Scalar ay, Scalar az) : x(ax), y(ay), z(az) {}                                     \
        friend constexpr Vector operator+(const Vector& a, const Vector& b)                                            \
        {                                                                                                              \
            return {a.x + b.x, a.y + b.y, a.z + b.z};                                                                  \
        }                                                                                                              \
        friend constexpr Vector operator-(const Vector& a, const Vector& b)                                            \
        {                                                                                                              \
            return {a.x - b.x, a.y - b.y, a.z - b.z};                                                                  \
        }                                                                                                              \
        friend constexpr Vector operator-(const Vector& a) { return {-a.x, -a.y, -a.z}; }                              \
        friend constexpr Vector operator*(const Vector& a, Scalar s) { return {a.x * s, a.y * s, a.z * s}; }           \
        constexpr Scalar Dot(const Vector& o) const { return x * o.x + y * o.y + z * o.z; }                            \
        constexpr Vector Cross(const Vector& o) const                                                                  \
        {                                                                                                              \
            return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};                                          \
        }                                                                                                              \
        QS_VECTOR_COMMON(Vector, Scalar)                                                                               \
        QS_VECTOR3_##Scalar(Vector)                                                                                    \
    };

// Lengths exist for floats only. A vector whose length is not above 1e-7 is left as it is.
#define QS_VECTOR3_float(Vector)                                                                                       \
    float Length() const                                                                                               \
    {                                                                                                                  \
        return std::sqrt(Dot(*this));                                                                                  \
    }                                                                                                                  \
    Vector Normalized() const                                                                                          \
    {                                                                                                                  \
        const float length = Length();                                                                                 \
        return length > 1e-7f ? *this * (1.0f / length) : *this;                                                       \
    }
#define QS_VECTOR3_int32_t(Vector)

#define QS_VECTOR4(Vector, Scalar)                                                                                     \
    struct Vector                                                                                                      \
    {                                                                                                                  \
        Scalar x = 0, y = 0, z = 0, w = 0;                                                                             \
        constexpr Vector() = default;                                                                                  \
        constexpr Vector(Scalar ax, Scalar ay, Scalar az, Scalar aw) : x(ax), y(ay), z(az), w(aw) {}                   \
        friend constexpr Vector operator+(const Vector& a, const Vector& b)                                            \
        {                                                                                                              \
            return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};                                                       \
        }                                                                                                              \
        friend constexpr Vector operator-(const Vector& a, const Vector& b)                                            \
        {                                                                                                              \
            return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};                                                       \
        }                                                                                                              \
        friend constexpr Vector operator-(const Vector& a) { return {-a.x, -a.y, -a.z, -a.w}; }                        \
        friend constexpr Vector operator*(const Vector& a, Scalar s) { return {a.x * s, a.y * s, a.z * s, a.w * s}; }  \
        constexpr Scalar Dot(const Vector& o) const { return x * o.x + y * o.y + z * o.z + w * o.w; }                  \
        QS_VECTOR_COMMON(Vector, Scalar)                                                                               \
    };

using std::int32_t;
QS_VECTOR2(Vector2f, float)
QS_VECTOR2(Vector2i, int32_t)
QS_VECTOR3(Vector3f, float)
QS_VECTOR3(Vector3i, int32_t)
QS_VECTOR4(Vector4f, float)
QS_VECTOR4(Vector4i, int32_t)

#undef QS_VECTOR2
#undef QS_VECTOR3
#undef QS_VECTOR3_float
#undef QS_VECTOR3_int32_t
#undef QS_VECTOR4
#undef QS_VECTOR_COMMON

static_assert(sizeof(Vector3f) == 12 && sizeof(Vector4f) == 16 && sizeof(Vector2i) == 8);
