/// \file
/// The binary contract between the mapping plug-in and the framework that loads it: every record that
/// crosses the border, the status codes, request types, node operations and namespace URIs.
///
/// x86-64 and AArch64 Linux, C linkage, little endian, 8-byte pointers. Holds no function.
#ifndef YMAP_TYPES_H
#define YMAP_TYPES_H

#include <cstddef>
#include <cstdint>

// Namespace URIs. The OpenConfig one is spelled as it was published, one letter short.
#define YMAP_NS_OPENCONFIG "http://openconfig.net/yang/optical-amplfier"
#define YMAP_NS_NATIVE(module) "http://velm.example/ns/yang/" module
#define YMAP_NS_OTS_CFG YMAP_NS_NATIVE("Velm-NALTO-controller-ots-cfg")
#define YMAP_NS_OTS_OPER YMAP_NS_NATIVE("Velm-NALTO-controller-ots-oper")
#define YMAP_NS_IFMGR_CFG YMAP_NS_NATIVE("Velm-NALTO-ifmgr-cfg")
#define YMAP_NS_PMENGINE_OPER YMAP_NS_NATIVE("Velm-NALTO-pmengine-oper")

extern "C" {

/// Status of every walker, handler and transform; 0 is success.
typedef uint32_t verrno;

inline constexpr verrno YMAP_OK = 0;
inline constexpr verrno YMAP_ERR_BAD_NODE = 0xaaf29e00;      ///< malformed request node
inline constexpr verrno YMAP_ERR_INVALID_ARGS = 0xaaf2a000;  ///< a NULL argument, or a delete with children
inline constexpr verrno YMAP_ERR_UNSUPPORTED_TAG = 0xaaf2ee00;  ///< the device has no counterpart
inline constexpr verrno YMAP_ERR_LIST_KEY = 0xaaf2f000;         ///< a list key missing, empty or given twice
inline constexpr verrno YMAP_ERR_KEY_DELETE = 0xaaf2f200;       ///< a delete operation on a list key
inline constexpr verrno YMAP_ERR_INVALID_VALUE = 0xaaf2f400;  ///< a key or value that the device cannot take
inline constexpr verrno YMAP_SKIP_NODE = 0xaaf2f600;          ///< not an error: pass this node over
inline constexpr verrno YMAP_ERR_AUGMENT_ADD = 0xaaf2f800;    ///< a create on a node of a foreign namespace

/// Values of yfw_map_request::type. All others, the keyed ones among them, are edits.
inline constexpr uint32_t YMAP_REQ_GET_CONFIG = 0;  ///< configuration only
inline constexpr uint32_t YMAP_REQ_EDIT = 1;        ///< keyed: list entries need one key with a value
inline constexpr uint32_t YMAP_REQ_KEYED_8 = 8;
inline constexpr uint32_t YMAP_REQ_GET = 10;  ///< configuration and state
inline constexpr uint32_t YMAP_REQ_KEYED_15 = 15;

/// Values of vidl_yfw_datatree::operation.
inline constexpr uint32_t YMAP_OP_NONE = 0;
inline constexpr uint32_t YMAP_OP_REPLACE = 1;  ///< walked twice: as YMAP_OP_REMOVE, as YMAP_OP_NONE
inline constexpr uint32_t YMAP_OP_CREATE = 2;
inline constexpr uint32_t YMAP_OP_DELETE = 3;
inline constexpr uint32_t YMAP_OP_REMOVE = 4;  ///< also given to nodes that are deleted by implication
inline constexpr uint32_t YMAP_OP_MERGE = 5;

/// content_selector: leave out configuration.
inline constexpr uint32_t YMAP_CONTENT_STATE_ONLY = 2;

/// Kind of a node on the walk path.
inline constexpr uint32_t YMAP_WALK_CONTAINER = 1;
inline constexpr uint32_t YMAP_WALK_LIST_ENTRY = 2;

/// Values of vidl_yfw_walk_info::walk_mark.
inline constexpr uint32_t YMAP_MARK_LEAF = 1;
inline constexpr uint32_t YMAP_MARK_CONTAINER = 3;
inline constexpr uint32_t YMAP_MARK_LIST_ENTRY = 4;
inline constexpr uint32_t YMAP_MARK_VALUED_LEAF = 6;  ///< a leaf that carried a value in a read

/// Bits of yfw_map_state::pass_flags.
inline constexpr uint32_t YMAP_PASS_FIRST = 0x40;         ///< first pass of a two-pass walk in progress
inline constexpr uint32_t YMAP_PASS_SECOND = 0x80;        ///< second pass of a container walk
inline constexpr uint32_t YMAP_PASS_XPATH_ERROR = 0x100;  ///< a native leaf was an xpath error node

/// Bits of yfw_map_state::leaf_seen.
inline constexpr uint32_t YMAP_LEAF_ALL_VALUED = 0x1;      ///< every leaf of the container carried a value
inline constexpr uint32_t YMAP_LEAF_UNVALUED = 0x2;        ///< a leaf without value was seen
inline constexpr uint32_t YMAP_LEAF_VALUED = 0x4;          ///< a leaf with value was seen
inline constexpr uint32_t YMAP_LEAF_ANY_VALUED = 0x10000;  ///< a valued leaf anywhere in the request

/// Values of yfw_map_state::key_mode.
inline constexpr uint32_t YMAP_KEY_NORMAL = 0;
inline constexpr uint32_t YMAP_KEY_WHOLE_ENTRY = 1;  ///< a list entry is deleted or filled as a whole
inline constexpr uint32_t YMAP_KEY_ONLY_DELETE = 2;  ///< entry handler of a delete naming only the key

/// vidl_yfw_datatree::node_status of a native node whose xpath failed.
inline constexpr uint32_t YMAP_NODE_XPATH_ERROR = 5;

/// Walk information of a node. Presence bit i says that field i is set.
struct vidl_yfw_walk_info {
  uint8_t reserved0[12];
  uint32_t walk_mark;  ///< presence bit 2
  uint8_t reserved16[12];
  uint8_t presence;
  uint8_t reserved29[3];
};

/// One node of a request or answer tree. A node's children are one array of whole records.
struct vidl_yfw_datatree {
  const char *tag;               ///< presence1 bit 0
  const char *data;              ///< value of a leaf; presence1 bit 1
  const char *namespace_;        ///< namespace URI; the plug-in does not test its presence
  uint8_t reserved24[4];         //
  uint32_t operation;            ///< YMAP_OP_*; presence1 bit 4
  uint8_t reserved32[16];        //
  vidl_yfw_datatree *subtrees;   ///< first child; presence1 bit 6
  uint32_t subtree_count;        ///< presence1 bit 6
  uint8_t reserved60[4];         //
  vidl_yfw_walk_info walk_info;  ///< presence2 bit 0
  uint8_t is_key;                ///< 1 on a list key leaf; presence2 bit 1
  uint8_t reserved97[7];         //
  uint8_t unused_record[64];     ///< a sub-record that the plug-in does not use; presence2 bit 2
  uint8_t unused_presence;       ///< the sub-record's own presence byte
  uint8_t reserved169[7];        //
  uint32_t node_status;          ///< 5: xpath error; presence2 bit 3
  uint8_t reserved180[13];       //
  uint8_t presence1;
  uint8_t presence2;
  uint8_t reserved195[5];
};

struct yfw_map_node_data {
  vidl_yfw_datatree *node;
};

struct yfw_content_selection {
  uint32_t content_selector;
  uint8_t presence;  ///< bit 0: content_selector set
};

struct yfw_map_request {
  uint32_t type;  ///< YMAP_REQ_*
  yfw_content_selection content_selection;
  uint16_t presence;  ///< bit 15: content_selection present
};

/// Debug levels, the framework's own; the plug-in passes its address to yfw_debug_should_log.
struct alignas(8) yfw_debug_cfg {
  uint8_t opaque[16];
};

/// Bookkeeping of one request, owned by the framework.
struct yfw_map_state {
  yfw_map_request *request;
  vidl_yfw_datatree *reg_dup_datatree;  ///< the OpenConfig request under a root with an empty tag
  vidl_yfw_datatree *root_node;
  vidl_yfw_datatree *parent_node;
  vidl_yfw_datatree *current_node;
  char *err_tag;        ///< owned copy of the tag that made the request fail
  uint32_t pass_flags;  ///< YMAP_PASS_*
  uint8_t output_list_count;
  vidl_yfw_datatree *plist;  ///< output list anchor
  uint8_t node_data_count;
  yfw_map_node_data *node_data;  ///< node_data_count entries: the walk path
  uint32_t key_mode;             ///< YMAP_KEY_*
  uint32_t final_pass;           ///< 1 while a node is walked again as its own children
  uint32_t leaf_seen;            ///< YMAP_LEAF_*
  char *err_message;             ///< owned copy of the text of a rejected key or value
};

/// First argument of every function of the plug-in.
struct yfw_map_ctx {
  yfw_map_state *state;
  yfw_debug_cfg debug_cfg;
  void *err_log;
  void *trc_log;
  void *ltrace;
  uint32_t ltrace_on;      ///< non-zero: trace points also go to the light trace
  uint32_t list_entry_op;  ///< operation of the list entry just handled
  uint32_t print_mark;     ///< set by print_data
};

/// Work of the framework for one node of an expansion entry; its last argument is always 0.
typedef verrno (*yfw_itree_callback)(yfw_map_ctx *ctx, vidl_yfw_datatree *node, vidl_yfw_datatree *out,
                                     uint32_t zero);

/// Entry of the expansion stack.
struct yfw_itree_entry {
  vidl_yfw_datatree *nodes;
  uint32_t count;
  yfw_itree_callback callback;
};

}  // extern "C"

// The two records whose layout is generated elsewhere: a changed offset breaks every loaded plug-in.
static_assert(sizeof(void *) == 8);
static_assert(sizeof(vidl_yfw_walk_info) == 32);
static_assert(offsetof(vidl_yfw_walk_info, walk_mark) == 12);
static_assert(offsetof(vidl_yfw_walk_info, presence) == 28);
static_assert(sizeof(vidl_yfw_datatree) == 200);
static_assert(offsetof(vidl_yfw_datatree, tag) == 0);
static_assert(offsetof(vidl_yfw_datatree, data) == 8);
static_assert(offsetof(vidl_yfw_datatree, namespace_) == 16);
static_assert(offsetof(vidl_yfw_datatree, operation) == 28);
static_assert(offsetof(vidl_yfw_datatree, subtrees) == 48);
static_assert(offsetof(vidl_yfw_datatree, subtree_count) == 56);
static_assert(offsetof(vidl_yfw_datatree, walk_info) == 64);
static_assert(offsetof(vidl_yfw_datatree, is_key) == 96);
static_assert(offsetof(vidl_yfw_datatree, unused_record) == 104);
static_assert(offsetof(vidl_yfw_datatree, unused_presence) == 168);
static_assert(offsetof(vidl_yfw_datatree, node_status) == 176);
static_assert(offsetof(vidl_yfw_datatree, presence1) == 193);
static_assert(offsetof(vidl_yfw_datatree, presence2) == 194);
static_assert(sizeof(yfw_debug_cfg) == 16 && alignof(yfw_debug_cfg) == 8);

#endif  // YMAP_TYPES_H
