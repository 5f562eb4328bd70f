#include <limits>
#include <string>

#include "test_rack/test_rack.h"

namespace plant_server {
namespace {

const Value::Dimensions array{10};
const Value::Dimensions matrix2{3, 4};
const Value::Dimensions matrix3{2, 3, 4};
const Value::Dimensions matrix16{2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3};
const Value::Dimensions matrix17{2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3};

void addShape(const Branch& rack, const std::string& name, const std::string& displayName,
              const Value::Dimensions& dimensions) {
    const Branch folder = rack.folder(name, displayName, "Element k holds k");
    forEachBuiltInType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        folder.variable(BuiltInType<T>::name, Value::demonstration<T>(dimensions));
    });
}

template <class T>
void addLimits(const Branch& folder) {
    if constexpr (std::is_arithmetic_v<T>) {
        const std::string name = BuiltInType<T>::name;
        folder.variable(name + "Min", Value::scalar(std::numeric_limits<T>::lowest()));
        folder.variable(name + "Max", Value::scalar(std::numeric_limits<T>::max()));
    }
    if constexpr (std::is_floating_point_v<T>) {
        const std::string name = BuiltInType<T>::name;
        folder.variable(name + "NaN", Value::scalar(std::numeric_limits<T>::quiet_NaN()));
        folder.variable(name + "Infinity", Value::scalar(std::numeric_limits<T>::infinity()));
    }
}

} // namespace

void addValues(const Branch& rack) {
    const Branch scalars = rack.folder("Scalar", "Scalars");
    const Branch limits = rack.folder("Limits", "Smallest and largest values");
    forEachBuiltInType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        scalars.variable(BuiltInType<T>::name, Value::scalar(BuiltInType<T>::scalar()));
        addLimits<T>(limits);
    });
    addShape(rack, "Array", "Arrays", array);
    addShape(rack, "EmptyArray", "Arrays without elements", {0});
    addShape(rack, "Matrix2", "Matrices of 2 dimensions", matrix2);
    addShape(rack, "Matrix3", "Matrices of 3 dimensions", matrix3);
    addShape(rack, "Matrix16", "Matrices of 16 dimensions", matrix16);
    rack.folder("Matrix17", "A matrix of 17 dimensions")
        .variable("Int32", Value::demonstration<UA_Int32>(matrix17));
}

} // namespace plant_server
