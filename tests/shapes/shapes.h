// Messages of hostile shapes. Each is made for a count, to which its size is in proportion: of
// fields, of parts, of boundaries, or whatever it has too many of.
#ifndef ZEVKA_TESTS_SHAPES_SHAPES_H
#define ZEVKA_TESTS_SHAPES_SHAPES_H

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::test {

struct Shape {
  std::string_view name;
  std::string (*make)(std::size_t count);
  std::size_t full;   // the count that the command measures
  std::size_t small;  // the count that tests begin with; they go on with four times as many
};

// For the reports of tests.
inline void PrintTo(const Shape& shape, std::ostream* out) {
  *out << shape.name;
}

// All of them.
const std::vector<Shape>& HostileShapes();

// By name; an exception when there is none.
const Shape& ShapeNamed(std::string_view name);

// What the shapes are measured against: text, a field or two, one body, of about that many bytes.
std::string PlainMessage(std::size_t bytes);

// `text`, `count` times.
std::string Times(std::string_view text, std::size_t count);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SHAPES_SHAPES_H
