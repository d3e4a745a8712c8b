#include "grouping.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numeric>

namespace faces {
namespace {

// Sides of similar rectangles are no farther apart than this share of their size.
constexpr double kShare = 0.2;

bool areSimilar(const RvpiRect& a, const RvpiRect& b) {
  const double limit = kShare / 2 * (std::min(a.width, b.width) + std::min(a.height, b.height));
  const auto isNear = [limit](int u, int v) { return std::abs(u - v) <= limit; };
  return isNear(a.x, b.x) && isNear(a.y, b.y) && isNear(a.x + a.width, b.x + b.width) &&
         isNear(a.y + a.height, b.y + b.height);
}

// Sets of numbers that are united step by step.
class Sets {
 public:
  explicit Sets(std::size_t count) : parents_(count) {
    std::iota(parents_.begin(), parents_.end(), std::size_t{0});
  }
  std::size_t rootOf(std::size_t i) {
    while (parents_[i] != i) i = parents_[i] = parents_[parents_[i]];
    return i;
  }
  void unite(std::size_t i, std::size_t k) { parents_[rootOf(k)] = rootOf(i); }

 private:
  std::vector<std::size_t> parents_;
};

struct Group {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  int members = 0;

  RvpiRect mean() const {
    const auto share = [this](double sum) { return static_cast<int>(std::lround(sum / members)); };
    return {share(x), share(y), share(width), share(height)};
  }
};

// Whether `inner` lies in `outer`, as far as similar rectangles differ.
bool isWithin(const RvpiRect& inner, const RvpiRect& outer) {
  const double dx = outer.width * kShare;
  const double dy = outer.height * kShare;
  return inner.x >= outer.x - dx && inner.y >= outer.y - dy &&
         inner.x + inner.width <= outer.x + outer.width + dx &&
         inner.y + inner.height <= outer.y + outer.height + dy;
}

}  // namespace

std::vector<RvpiRect> grouped(const std::vector<RvpiRect>& rects, int neighbours) {
  if (neighbours <= 0) return rects;
  Sets sets(rects.size());
  for (std::size_t i = 0; i < rects.size(); ++i)
    for (std::size_t k = 0; k < i; ++k)
      if (areSimilar(rects[i], rects[k])) sets.unite(i, k);

  std::map<std::size_t, Group> groupByRoot;
  for (std::size_t i = 0; i < rects.size(); ++i) {
    Group& group = groupByRoot[sets.rootOf(i)];
    group.x += rects[i].x;
    group.y += rects[i].y;
    group.width += rects[i].width;
    group.height += rects[i].height;
    ++group.members;
  }
  std::vector<Group> groups;
  for (const auto& [root, group] : groupByRoot)
    if (group.members > neighbours) groups.push_back(group);

  std::vector<RvpiRect> result;
  for (const Group& group : groups) {
    const RvpiRect mean = group.mean();
    const bool isPart = std::ranges::any_of(
        groups, [&](const Group& other) { return other.members > group.members && isWithin(mean, other.mean()); });
    if (!isPart) result.push_back(mean);
  }
  return result;
}

}  // namespace faces
