// One sink or source as a device: its properties and its IO procs.
#pragma once

#include <memory>
#include <vector>

#include "platform/audio_device/pipewire/settings.h"
#include "platform/audio_device/pipewire/stream.h"
#include "platform/audio_device/property_store.h"

namespace auspool::platform {

struct PipeWireProc {
  IoProcId id = 0;
  IoProc proc = nullptr;
  void *client = nullptr;
  bool started = false;
  std::unique_ptr<IoStream> stream;  // while it is started; null then, too, where there was no memory for one

  bool has_failed() const { return started && (!stream || stream->has_failed()); }
};

// All of it with the server's lock held.
class PipeWireDevice {
public:
  PipeWireDevice(ObjectId number, const Node &found, const GraphSettings &settings);

  // Brings the properties up to date with streams and settings; gives those that changed.
  std::vector<PropertyAddress> update(const GraphSettings &settings);

  // Wishes, for streams that run and those to come. For another rate those that run begin anew: a graph that runs takes
  // no notice of one now and then.
  DeviceStatus wish_rate(double rate, const GraphSettings &settings, Server &server);
  double wished_rate() const { return wished_rate_; }  // 0 for none
  void take_back_rate(double wished_before, Server &server);
  DeviceStatus wish_frames(std::uint32_t frames, const GraphSettings &settings);

  void start(PipeWireProc &proc, Server &server);  // anew, if it runs
  static void stop(PipeWireProc &proc);
  PipeWireProc *find(IoProcId id);
  bool has_failed_streams() const;
  void restart_failed_streams(Server &server);  // as far as memory goes
  bool has_idle_streams() const;                // that do not run, or not yet

  double rate() const { return properties.get(kNominalRate, 0.0); }
  std::uint32_t scope() const { return node.is_input ? kInput : kOutput; }

  const ObjectId id;
  const Node node;
  PropertyStore properties;
  std::vector<PipeWireProc> procs;

private:
  const IoStream *running() const;
  GraphWish wish() const;
  void tell_streams();

  double wished_rate_ = 0.0;
  std::uint32_t wished_frames_ = 0;
};

}  // namespace auspool::platform
