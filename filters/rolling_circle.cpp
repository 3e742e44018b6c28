#include "filters/rolling_circle.h"

#include <algorithm>
#include <cmath>

#include "exports/QV_3D.h"
#include "filters/scratch.h"
#include "kernels/kernels.h"

namespace qv::filters {

bool CircleHoldsPoint(const ProfilePoint& first, const ProfilePoint& candidate, const ProfilePoint& last,
                      double radius) {
  const double dx = last.x - first.x, dz = last.z - first.z;
  const double halfChord = std::sqrt(dx * dx + dz * dz) / 2;
  if (halfChord >= radius) return true;
  const double t = std::atan(dz / dx) + std::acos(halfChord / radius);
  const double px = first.x + radius * std::cos(t) - candidate.x,
               pz = first.z + radius * std::sin(t) - candidate.z;
  return std::sqrt(px * px + pz * pz) <= radius;
}

double CircleArcDrop(double x, double radius) {
  return radius - std::sqrt(radius * radius - x * x);
}

namespace {

/// The walk over the profile: a stack of contacts, an anchor above it, a candidate and a new point.
class ContactWalk {
 public:
  ContactWalk(const double* profile, std::ptrdiff_t n, double radius, double dx, int* contacts)
      : profile_(profile), n_(n), radius_(radius), dx_(dx), contacts_(contacts) {}

  std::ptrdiff_t Run() {
    std::ptrdiff_t anchor = 0, candidate = 1, next = 2;
    while (next < n_) {
      if (Holds(anchor, candidate, next)) {
        Push(anchor);
        anchor = candidate;
        candidate = next++;
      } else if (anchor != 0) {
        candidate = anchor;
        anchor = contacts_[--count_];
      } else {
        candidate = next++;
      }
    }
    // With nothing pushed the anchor is still the first sample, which is touched.
    if (count_ == 0 || Holds(contacts_[count_ - 1], anchor, n_ - 1)) Push(anchor);
    Push(n_ - 1);
    return count_;
  }

 private:
  bool Holds(std::ptrdiff_t first, std::ptrdiff_t candidate, std::ptrdiff_t last) const {
    return CircleHoldsPoint({0, profile_[first]},
                            {static_cast<double>(candidate - first) * dx_, profile_[candidate]},
                            {static_cast<double>(last - first) * dx_, profile_[last]}, radius_);
  }
  void Push(std::ptrdiff_t index) { contacts_[count_++] = static_cast<int>(index); }

  const double* profile_;
  std::ptrdiff_t n_;
  double radius_;
  double dx_;
  int* contacts_;
  std::ptrdiff_t count_ = 0;
};

constexpr double kNoContact = -9.99e33;
constexpr double kOutOfReach = -9.9e33;

/// The samples first..last whose index window holds a contact; it moves on with the contact.
class Reach {
 public:
  Reach(std::ptrdiff_t n, double samples) : n_(n), samples_(samples) {}

  /// first: the first sample whose window ends at the contact or later; last: the last whose window begins at
  /// it or earlier.
  void MoveTo(std::ptrdiff_t contact) {
    while (first < n_ && High(first) < static_cast<double>(contact)) ++first;
    while (last + 1 < n_ && Low(last + 1) <= static_cast<double>(contact)) ++last;
  }

  std::ptrdiff_t first = 0;
  std::ptrdiff_t last = -1;

 private:
  // Clamped as doubles: a window may reach farther than integers do. A NaN does not clamp.
  double Low(std::ptrdiff_t i) const {
    const double low = std::trunc(static_cast<double>(i) - samples_);
    return low > 0 ? low : 0;
  }
  double High(std::ptrdiff_t i) const {
    const double high = std::trunc(samples_ + static_cast<double>(i)), end = static_cast<double>(n_ - 1);
    return high < end ? high : end;
  }

  std::ptrdiff_t n_;
  double samples_;
};

/// The drops at 0, 1, 2, ... samples' distance, as far as the circle reaches; returns their number.
std::ptrdiff_t TabulateArc(double radius, double dx, std::ptrdiff_t n, double* drops) {
  std::ptrdiff_t count = 0;
  for (; count < n; ++count) {
    const double x = static_cast<double>(count) * dx;
    if (!(std::fabs(x) <= radius)) break;
    drops[count] = CircleArcDrop(x, radius);
  }
  return count;
}

/// The envelope, contact by contact. Each sample meets the contacts in ascending order.
class Envelope {
 public:
  Envelope(double* out, const double* drops, std::ptrdiff_t reach)
      : out_(out), drops_(drops), reach_(reach) {}

  void Raise(std::ptrdiff_t contact, double height, std::ptrdiff_t first, std::ptrdiff_t last) const {
    const kernels::ProfileKernels& kernel = kernels::Active().profiles;
    RaiseTo(kOutOfReach, first, std::min(last, contact - reach_));
    const std::ptrdiff_t left = std::max(first, contact - reach_ + 1),
                         right = std::min(last, contact + reach_ - 1);
    if (left < contact) RaiseLeft(contact, height, left, std::min(right, contact - 1));
    const std::ptrdiff_t begin = std::max(left, contact);
    if (begin <= right)
      kernel.raiseForward(height, drops_ + (begin - contact), right - begin + 1, out_ + begin);
    RaiseTo(kOutOfReach, std::max(first, contact + reach_), last);
  }

 private:
  void RaiseLeft(std::ptrdiff_t contact, double height, std::ptrdiff_t left, std::ptrdiff_t right) const {
    if (left > right) return;
    kernels::Active().profiles.raiseBackward(height, drops_ + (contact - right), right - left + 1,
                                             out_ + right);
  }
  void RaiseTo(double value, std::ptrdiff_t first, std::ptrdiff_t last) const {
    for (std::ptrdiff_t i = first; i <= last; ++i) out_[i] = value > out_[i] ? value : out_[i];
  }

  double* out_;
  const double* drops_;
  std::ptrdiff_t reach_;
};

}  // namespace

std::ptrdiff_t FindContacts(const double* profile, std::ptrdiff_t n, double radius, double dx,
                            int* contacts) {
  if (n <= 2) {
    contacts[0] = 0;
    contacts[n - 1] = static_cast<int>(n - 1);
    return n;
  }
  return ContactWalk(profile, n, radius, dx, contacts).Run();
}

}  // namespace qv::filters

unsigned QV_CALL Convolve_Radius(const double* profile, double* out, int n, double radius, double dx) {
  using namespace qv::filters;
  if (n < 1) return 0;
  Scratch<int> contacts(static_cast<std::size_t>(n));
  Scratch<double> drops(static_cast<std::size_t>(n));
  if (!contacts || !drops) return 0;
  const std::ptrdiff_t count = FindContacts(profile, n, radius, dx, contacts.get());
  const Envelope envelope(out, drops.get(), TabulateArc(radius, dx, n, drops.get()));
  std::fill(out, out + n, kNoContact);
  Reach reach(n, radius / dx);
  for (std::ptrdiff_t c = 0; c < count; ++c) {
    const std::ptrdiff_t contact = contacts[c];
    reach.MoveTo(contact);
    envelope.Raise(contact, profile[contact], reach.first, reach.last);
  }
  return 0;
}
