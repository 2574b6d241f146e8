// The OpenConfig model as its walkers see it: one row a node, from the leaves up to the root.
#include "ymap_oc_opt_ampli_openconfig_optical_amplifier.h"

#include <iterator>

#include "handlers.h"
#include "on_walk.h"

#define YMAP_PREFIX ymap_on_oc_opt_ampli_openconfigopticalamplifier_
#define YMAP_ROWS "ymap_oc_opt_ampli_openconfig_optical_amplifier_parser.def"
#include "define_exports.inc"

#define NAME(word) YMAP_STRING(YMAP_ON(word))

// A leaf with a handler of its own, a leaf without, and a list key.
#define ON_LEAF(tag, word) \
  { tag, NAME(word), ymap::walk_on_leaf, YMAP_ON(leaf_##word), nullptr, nullptr, nullptr, 0, nullptr, false }
#define ON_PLAIN(tag, word)                                                                             \
  {                                                                                                     \
    tag, NAME(word), ymap::walk_on_leaf, YMAP_ON(duck_map_leaf), nullptr, nullptr, nullptr, 0, nullptr, \
        false                                                                                           \
  }
#define ON_KEY(tag, word, handler) \
  { tag, NAME(word), ymap::walk_on_key, YMAP_ON(handler), nullptr, nullptr, nullptr, 0, nullptr, false }

// A container: pattern, tag, name, handler, children.
#define ON_CONTAINER(pattern, tag, word, handler, rows)                                                  \
  {                                                                                                      \
    tag, NAME(word), ymap::walk_on_##pattern, nullptr, YMAP_ON(handler), YMAP_ON(word##_parse_augments), \
        rows, std::size(rows), nullptr, false                                                            \
  }

// A list entry: its children are its key, config and state.
#define ON_ENTRY(tag, word, path, rows)                                       \
  {                                                                           \
    tag, NAME(word), ymap::walk_on_list_entry, YMAP_ON(list_##word), nullptr, \
        YMAP_ON(word##_parse_augments), rows, std::size(rows), path, false    \
  }

namespace {

using ymap::OnRow;

// ---- Statistics: VALUE is the kind of the four values, the other three have handlers of their own ----

#define STATISTICS(VALUE, word)                                                                              \
  {                                                                                                          \
    VALUE("instant", word##_instant), VALUE("avg", word##_avg), VALUE("min", word##_min),                    \
        VALUE("max", word##_max), ON_LEAF("interval", word##_interval), ON_LEAF("min-time", word##_mintime), \
        ON_LEAF("max-time", word##_maxtime),                                                                 \
  }

constexpr OnRow actual_gain_rows[] = STATISTICS(ON_LEAF, lvla_opticalamplifier_actualgain);
constexpr OnRow actual_gain_tilt_rows[] = STATISTICS(ON_LEAF, lvla_opticalamplifier_actualgaintilt);
constexpr OnRow input_power_total_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_inputpowertotal);
constexpr OnRow input_power_c_band_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_inputpowercband);
constexpr OnRow input_power_l_band_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_inputpowerlband);
constexpr OnRow output_power_total_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_outputpowertotal);
constexpr OnRow output_power_c_band_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_outputpowercband);
constexpr OnRow output_power_l_band_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_outputpowerlband);
constexpr OnRow laser_bias_current_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_laserbiascurrent);
constexpr OnRow optical_return_loss_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_opticalreturnloss);
constexpr OnRow channel_input_power_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_inputpower);
constexpr OnRow channel_output_power_rows[] = STATISTICS(ON_PLAIN, lvla_opticalamplifier_outputpower);
constexpr OnRow channel_laser_bias_current_rows[] =
    STATISTICS(ON_PLAIN, lvlb_opticalamplifier_laserbiascurrent);

// ---- amplifiers/amplifier ----

constexpr OnRow config_rows[] = {
    ON_LEAF("name", lvla_opticalamplifier_config_name),
    ON_PLAIN("type", lvla_opticalamplifier_config_type),
    ON_LEAF("target-gain", lvla_opticalamplifier_config_targetgain),
    ON_PLAIN("min-gain", lvla_opticalamplifier_config_mingain),
    ON_PLAIN("max-gain", lvla_opticalamplifier_config_maxgain),
    ON_LEAF("target-gain-tilt", lvla_opticalamplifier_config_targetgaintilt),
    ON_LEAF("gain-range", lvla_opticalamplifier_config_gainrange),
    ON_PLAIN("amp-mode", lvla_opticalamplifier_config_ampmode),
    ON_PLAIN("target-output-power", lvla_opticalamplifier_config_targetoutputpower),
    ON_PLAIN("max-output-power", lvla_opticalamplifier_config_maxoutputpower),
    ON_LEAF("enabled", lvla_opticalamplifier_config_enabled),
    ON_PLAIN("fiber-type-profile", lvla_opticalamplifier_config_fibertypeprofile),
};

constexpr OnRow state_rows[] = {
    ON_LEAF("name", lvla_opticalamplifier_state_name),
    ON_PLAIN("type", lvla_opticalamplifier_state_type),
    ON_LEAF("target-gain", lvla_opticalamplifier_state_targetgain),
    ON_PLAIN("min-gain", lvla_opticalamplifier_state_mingain),
    ON_PLAIN("max-gain", lvla_opticalamplifier_state_maxgain),
    ON_LEAF("target-gain-tilt", lvla_opticalamplifier_state_targetgaintilt),
    ON_LEAF("gain-range", lvla_opticalamplifier_state_gainrange),
    ON_PLAIN("amp-mode", lvla_opticalamplifier_state_ampmode),
    ON_PLAIN("target-output-power", lvla_opticalamplifier_state_targetoutputpower),
    ON_PLAIN("max-output-power", lvla_opticalamplifier_state_maxoutputpower),
    ON_LEAF("enabled", lvla_opticalamplifier_state_enabled),
    ON_PLAIN("fiber-type-profile", lvla_opticalamplifier_state_fibertypeprofile),
    ON_PLAIN("component", lvla_opticalamplifier_state_component),
    ON_LEAF("ingress-port", lvla_opticalamplifier_state_ingressport),
    ON_LEAF("egress-port", lvla_opticalamplifier_state_egressport),
    ON_CONTAINER(state, "actual-gain", lvla_opticalamplifier_state_actualgain,
                 cont_lvla_opticalamplifier_state_actualgain, actual_gain_rows),
    ON_CONTAINER(state, "actual-gain-tilt", lvla_opticalamplifier_state_actualgaintilt,
                 cont_lvla_opticalamplifier_state_actualgaintilt, actual_gain_tilt_rows),
    ON_CONTAINER(state, "input-power-total", lvla_opticalamplifier_state_inputpowertotal,
                 cont_lvla_opticalamplifier_state_inputpowertotal, input_power_total_rows),
    ON_CONTAINER(state, "input-power-c-band", lvla_opticalamplifier_state_inputpowercband, duck_map_container,
                 input_power_c_band_rows),
    ON_CONTAINER(state, "input-power-l-band", lvla_opticalamplifier_state_inputpowerlband, duck_map_container,
                 input_power_l_band_rows),
    ON_CONTAINER(state, "output-power-total", lvla_opticalamplifier_state_outputpowertotal,
                 cont_lvla_opticalamplifier_state_outputpowertotal, output_power_total_rows),
    ON_CONTAINER(state, "output-power-c-band", lvla_opticalamplifier_state_outputpowercband,
                 duck_map_container, output_power_c_band_rows),
    ON_CONTAINER(state, "output-power-l-band", lvla_opticalamplifier_state_outputpowerlband,
                 duck_map_container, output_power_l_band_rows),
    ON_CONTAINER(state, "laser-bias-current", lvla_opticalamplifier_state_laserbiascurrent,
                 duck_map_container, laser_bias_current_rows),
    ON_CONTAINER(state, "optical-return-loss", lvla_opticalamplifier_state_opticalreturnloss,
                 duck_map_container, optical_return_loss_rows),
};

constexpr OnRow amplifier_rows[] = {
    ON_KEY("name", lvla_opticalamplifier_amplifier_name, leaf_lvla_opticalamplifier_amplifier_name),
    ON_CONTAINER(container, "config", lvla_opticalamplifier_amplifier_config,
                 cont_lvla_opticalamplifier_amplifier_config, config_rows),
    ON_CONTAINER(state, "state", lvla_opticalamplifier_amplifier_state,
                 cont_lvla_opticalamplifier_amplifier_state, state_rows),
};

constexpr OnRow amplifiers_rows[] = {
    ON_ENTRY("amplifier", lvla_opticalamplifier_amplifiers_amplifier,
             "/optical-amplifier/amplifiers/amplifier", amplifier_rows),
};

// ---- supervisory-channels/supervisory-channel ----

constexpr OnRow channel_config_rows[] = {
    ON_PLAIN("interface", lvla_opticalamplifier_config_interface),
};

constexpr OnRow channel_state_rows[] = {
    ON_PLAIN("interface", lvla_opticalamplifier_state_interface),
    ON_CONTAINER(state, "input-power", lvla_opticalamplifier_state_inputpower, duck_map_container,
                 channel_input_power_rows),
    ON_CONTAINER(state, "output-power", lvla_opticalamplifier_state_outputpower, duck_map_container,
                 channel_output_power_rows),
    ON_CONTAINER(state, "laser-bias-current", lvlb_opticalamplifier_state_laserbiascurrent,
                 duck_map_container, channel_laser_bias_current_rows),
    ON_LEAF("output-frequency", lvla_opticalamplifier_state_outputfrequency),
};

constexpr OnRow channel_rows[] = {
    ON_KEY("interface", lvla_opticalamplifier_supervisorychannel_interface, duck_map_leaf),
    ON_CONTAINER(container, "config", lvla_opticalamplifier_supervisorychannel_config, duck_map_container,
                 channel_config_rows),
    ON_CONTAINER(state, "state", lvla_opticalamplifier_supervisorychannel_state, duck_map_container,
                 channel_state_rows),
};

constexpr OnRow channels_rows[] = {
    ON_ENTRY("supervisory-channel", lvla_opticalamplifier_supervisorychannels_supervisorychannel,
             "/optical-amplifier/supervisory-channels/supervisory-channel", channel_rows),
};

// ---- optical-amplifier ----

constexpr OnRow root_rows[] = {
    ON_CONTAINER(container, "amplifiers", lvla_opticalamplifier_amplifiers,
                 cont_lvla_opticalamplifier_amplifiers, amplifiers_rows),
    ON_CONTAINER(container, "supervisory-channels", lvla_opticalamplifier_supervisorychannels,
                 cont_lvla_opticalamplifier_supervisorychannels, channels_rows),
};

constexpr OnRow root = {"optical-amplifier",
                        NAME(lvla_opticalamplifier),
                        ymap::walk_on_container,
                        nullptr,
                        YMAP_ON(cont_lvla_opticalamplifier),
                        YMAP_ON(lvla_opticalamplifier_parse_augments),
                        root_rows,
                        std::size(root_rows),
                        nullptr,
                        true};

}  // namespace

extern "C" verrno YMAP_ON(lvla_opticalamplifier)(yfw_map_ctx *ctx, vidl_yfw_datatree *node,
                                                 vidl_yfw_datatree *out) {
  return root.walk(ctx, root, node, out);
}
