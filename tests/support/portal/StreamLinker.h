// What a session manager does for a screen's node: whoever asks for that node is linked to it, and
// a link that fails is taken away.
//
// A client asks by the property target.object (a serial or a name) or node.target (an id) of its
// own node. Notes "link STATE" for each state of a link, an error with its text.
//
// Threads: the one of the core's loop, or with its lock held.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_STREAMLINKER_H
#define ORVANE_TESTS_SUPPORT_PORTAL_STREAMLINKER_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <pipewire/pipewire.h>

namespace support {

class StreamLinker {
 public:
  explicit StreamLinker(pw_core* core);
  ~StreamLinker();
  StreamLinker(const StreamLinker&) = delete;
  StreamLinker& operator=(const StreamLinker&) = delete;

  // The node to link to, once its id is known.
  void Offer(std::uint32_t node);

 private:
  struct Node {
    StreamLinker* linker = nullptr;
    std::uint32_t id = 0;
    std::string serial;
    std::string name;
    std::string target;  // what it asks for; empty for nothing
    pw_proxy* proxy = nullptr;
    spa_hook hook{};
  };
  struct Port {
    std::uint32_t node = 0;
    bool output = false;
  };
  struct Link {
    pw_proxy* proxy = nullptr;
    spa_hook hook{};
  };

  static void GlobalAdded(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                          std::uint32_t version, const spa_dict* properties);
  static void GlobalRemoved(void* data, std::uint32_t id);
  static void NodeTold(void* data, const pw_node_info* info);
  static void LinkTold(void* data, const pw_link_info* info);

  void AddNode(std::uint32_t id, const spa_dict* properties);
  void AddPort(std::uint32_t id, const spa_dict* properties);
  bool AsksForOffered(const Node& node) const;
  // The first port of a node; PW_ID_ANY when there is none yet.
  std::uint32_t PortOf(std::uint32_t node, bool output) const;
  void LinkWhoAsks();
  void MakeLink(std::uint32_t outputPort, const Node& input, std::uint32_t inputPort);

  pw_core* m_core;
  pw_registry* m_registry = nullptr;
  spa_hook m_registryHook{};
  pw_registry_events m_registryEvents{};
  pw_node_events m_nodeEvents{};
  pw_link_events m_linkEvents{};
  std::uint32_t m_offered = PW_ID_ANY;
  std::map<std::uint32_t, std::unique_ptr<Node>> m_nodes;
  std::map<std::uint32_t, Port> m_ports;
  std::map<std::uint32_t, std::unique_ptr<Link>> m_links;  // by the input's node
};

}  // namespace support

#endif
