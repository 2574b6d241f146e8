// The configuration that a device leaves the factory with.
#include "factory.hpp"

namespace device {

namespace {

// Three amplifiers with values of their own, so that a mixed-up side is seen; among them what a real device
// also holds: a line port without amplifier, other kinds of interface, leaves that nothing maps.
constexpr std::string_view kFactory = R"json({
  "Velm-NALTO-ifmgr-cfg:global-interface-configuration": {
    "link-status": "default"
  },
  "Velm-NALTO-ifmgr-cfg:interface-configurations": {
    "interface-configuration": [
      {
        "active": "act",
        "interface-name": "MgmtEth0/RP0/CPU0/0",
        "mtus": {
          "mtu": [
            {
              "owner": "etherbundle",
              "mtu": 1514
            }
          ]
        },
        "description": "management network"
      },
      {
        "active": "act",
        "interface-name": "Loopback0",
        "interface-virtual": [null],
        "description": "router identity"
      },
      {
        "active": "act",
        "interface-name": "Ots0/0/0/0",
        "description": "line east",
        "Velm-NALTO-controller-ots-cfg:ots": {
          "egress-channel-slice-attns": {
            "egress-channel-slice-attn": [
              {
                "egress-channel-slice-attn": 1,
                "egress-channel-slice-attn-value": 12
              },
              {
                "egress-channel-slice-attn": 2,
                "egress-channel-slice-attn-value": 8
              }
            ]
          },
          "ots-ingress-amplifier-gain": 172,
          "ots-ingress-amplifier-tilt": -12,
          "ots-ingress-amplifier-gain-range": "normal",
          "ots-ingress-osri": false,
          "ots-ingress-safety-control-mode": "auto",
          "ots-ingress-amplifier-gain-degrade-low-threshold": 120,
          "ots-ingress-amplifier-gain-degrade-high-threshold": 320,
          "ots-egress-amplifier-gain": 205,
          "ots-egress-amplifier-tilt": 8,
          "ots-egress-amplifier-gain-range": "extended",
          "ots-egress-osri": false,
          "ots-egress-safety-control-mode": "auto",
          "ots-egress-ampli-br": true,
          "ots-egress-ampli-br-high-threshold": -270,
          "ots-tx-voa-attenuation": 15
        }
      },
      {
        "active": "act",
        "interface-name": "Ots0/0/0/1",
        "description": "add/drop, no amplifier",
        "Velm-NALTO-controller-ots-cfg:ots": {
          "ots-tx-voa-attenuation": 30
        }
      },
      {
        "active": "act",
        "interface-name": "Ots0/0/0/2",
        "description": "line west",
        "Velm-NALTO-controller-ots-cfg:ots": {
          "ots-egress-amplifier-gain": 184,
          "ots-egress-amplifier-tilt": -5,
          "ots-egress-amplifier-gain-range": "normal",
          "ots-egress-osri": false,
          "ots-egress-force-apr": false,
          "ots-egress-safety-control-mode": "auto",
          "ots-raman-osri": true,
          "ots-tx-voa-attenuation": 0
        }
      },
      {
        "active": "act",
        "interface-name": "Optics0/0/0/1",
        "dampening": {
          "args": "specify-half-life",
          "half-life": 5
        },
        "description": "client optics",
        "shutdown": [null]
      }
    ]
  }
}
)json";

}  // namespace

std::string_view factory_configuration() {
  return kFactory;
}

}  // namespace device
