#include "tests/faults/fault_layer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>

namespace quillgate::test {
namespace {

// Never destroyed: a session may end after the last test.
struct Layer {
  std::mutex mutex;
  std::optional<Fault> fault;
  Weather weather = Weather::fair;
  std::vector<std::string> addresses;
  std::map<std::string, int> calls;
  FaultHits hits;
  int disturbed = 0;
};

Layer& layer() {
  static auto& only = *new Layer;
  return only;
}

thread_local int programScopes = 0;
thread_local bool interruptedLast = false;

int portOf(const sockaddr_in& address) {
  return address.sin_family == AF_INET ? ntohs(address.sin_port) : 0;
}

std::string objectOf(int descriptor) {
  if (descriptor < 0) return {};
  sockaddr_in local{};
  sockaddr_in peer{};
  socklen_t length = sizeof(local);
  if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &length) == 0) {
    length = sizeof(peer);
    ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length);
    return portsText(portOf(local), portOf(peer));
  }
  std::array<char, 4096> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
  return {path.data(), size < 0 ? 0 : static_cast<std::size_t>(size)};
}

// Counts a call of the program; whether the fault is meant for it.
bool isHit(const std::string& call) {
  if (!isProgram()) return false;
  const std::lock_guard lock(layer().mutex);
  const int count = ++layer().calls[call];
  const auto& fault = layer().fault;
  return fault && fault->call == call &&
         (fault->forEver ? count >= fault->nth : count == fault->nth);
}

void noteHit(const std::string& call, const std::string& object, int error) {
  {
    const std::lock_guard lock(layer().mutex);
    layer().hits.add(call, object);
  }
  errno = error;
}

// Whether a call of the program is one that this weather disturbs.
bool isDisturbed(Weather weather) {
  if (!isProgram()) return false;
  const std::lock_guard lock(layer().mutex);
  return layer().weather == weather;
}

void noteDisturbance() {
  const std::lock_guard lock(layer().mutex);
  ++layer().disturbed;
}

}  // namespace

void startFaults(const std::optional<Fault>& fault, Weather weather) {
  const std::lock_guard lock(layer().mutex);
  layer().fault = fault;
  layer().weather = weather;
  layer().addresses.clear();
  layer().calls.clear();
  layer().hits = {};
  layer().disturbed = 0;
}

void nameAddresses(std::vector<std::string> addresses) {
  const std::lock_guard lock(layer().mutex);
  layer().addresses = std::move(addresses);
}

std::map<std::string, int> callCounts() {
  const std::lock_guard lock(layer().mutex);
  return layer().calls;
}

FaultHits faultHits() {
  const std::lock_guard lock(layer().mutex);
  return layer().hits;
}

int disturbedCalls() {
  const std::lock_guard lock(layer().mutex);
  return layer().disturbed;
}

int FaultHits::all() const {
  int sum = 0;
  for (const auto& [where, count] : counts_) sum += count;
  return sum;
}

int FaultHits::of(const std::string& call) const {
  int sum = 0;
  for (const auto& [where, count] : counts_) sum += where.first == call ? count : 0;
  return sum;
}

int FaultHits::on(const std::string& call, const std::string& object) const {
  const auto found = counts_.find({call, object});
  return found == counts_.end() ? 0 : found->second;
}

FaultHits FaultHits::since(const FaultHits& earlier) const {
  FaultHits later = *this;
  for (const auto& [where, count] : earlier.counts_) later.counts_[where] -= count;
  return later;
}

std::string portsText(int local, int peer) {
  return std::to_string(local) + ">" + std::to_string(peer);
}

ProgramScope::ProgramScope() { ++programScopes; }
ProgramScope::~ProgramScope() { --programScopes; }

bool isProgram() { return programScopes > 0; }

bool failsNow(const std::string& call, int error, int descriptor) {
  if (!isHit(call)) return false;
  noteHit(call, objectOf(descriptor), error);
  return true;
}

bool failsNow(const std::string& call, int error, const char* path) {
  if (!isHit(call)) return false;
  noteHit(call, path, error);
  return true;
}

bool isInterruptedNow() {
  if (!isDisturbed(Weather::interrupted)) return false;
  interruptedLast = !interruptedLast;
  if (!interruptedLast) return false;
  noteDisturbance();
  errno = EINTR;
  return true;
}

std::vector<std::string> namedAddresses() {
  if (!isProgram()) return {};
  const std::lock_guard lock(layer().mutex);
  return layer().addresses;
}

std::size_t bytesToMove(std::size_t size) {
  if (size <= 1 || !isDisturbed(Weather::byteByByte)) return size;
  noteDisturbance();
  return 1;
}

std::size_t bytesToSend(std::size_t size) {
  if (size <= 1 || !isDisturbed(Weather::shortSends)) return bytesToMove(size);
  noteDisturbance();
  return 1;
}

}  // namespace quillgate::test
