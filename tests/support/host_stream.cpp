#include "support/host_stream.h"

namespace auspool::testing {

precomputed_stage precomputed(const stage_spec &spec) {
  precomputed_stage stage = {};
  stage.type = spec.type;
  stage.up = spec.up;
  stage.down = spec.down;
  stage.gain = spec.gain;
  stage.ratio = spec.ratio;
  stage.pass_edge = spec.pass_edge;
  stage.stop_edge = spec.stop_edge;
  stage.kaiser_beta = spec.kaiser_beta;
  stage.length = spec.length;
  return stage;
}

precomputed_structure precomputed_chain_of(std::initializer_list<stage_spec> stages) {
  precomputed_structure structure = {};
  for (const stage_spec &spec : stages) structure.stages[structure.count++] = precomputed(spec);
  return structure;
}

}  // namespace auspool::testing
