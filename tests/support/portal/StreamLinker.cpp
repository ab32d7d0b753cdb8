#include "support/portal/StreamLinker.h"

#include <cstring>

#include "support/portal/Journal.h"

namespace support {

namespace {

std::string Look(const spa_dict* properties, const char* key) {
  const char* value = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
  return value != nullptr ? value : "";
}

// Whose listener goes with it.
void Destroy(pw_proxy* proxy, spa_hook* hook) {
  spa_hook_remove(hook);
  pw_proxy_destroy(proxy);
}

// The library has this one as a macro only.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
void TakeAway(pw_registry* registry, std::uint32_t object) {
  pw_registry_destroy(registry, object);
}
#pragma GCC diagnostic pop

std::uint32_t NumberOf(const std::string& text) {
  return text.empty() ? PW_ID_ANY : static_cast<std::uint32_t>(std::stoul(text));
}

}  // namespace

StreamLinker::StreamLinker(pw_core* core) : m_core(core) {
  m_registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
  m_registryEvents.global = GlobalAdded;
  m_registryEvents.global_remove = GlobalRemoved;
  m_nodeEvents.version = PW_VERSION_NODE_EVENTS;
  m_nodeEvents.info = NodeTold;
  m_linkEvents.version = PW_VERSION_LINK_EVENTS;
  m_linkEvents.info = LinkTold;
  m_registry = pw_core_get_registry(m_core, PW_VERSION_REGISTRY, 0);
  pw_proxy_add_object_listener(reinterpret_cast<pw_proxy*>(m_registry), &m_registryHook,
                               &m_registryEvents, this);
}

StreamLinker::~StreamLinker() {
  for (const auto& [id, link] : m_links) {
    Destroy(link->proxy, &link->hook);
  }
  for (const auto& [id, node] : m_nodes) {
    Destroy(node->proxy, &node->hook);
  }
  Destroy(reinterpret_cast<pw_proxy*>(m_registry), &m_registryHook);
}

void StreamLinker::Offer(std::uint32_t node) {
  m_offered = node;
  LinkWhoAsks();
}

void StreamLinker::GlobalAdded(void* data, std::uint32_t id, std::uint32_t, const char* type,
                               std::uint32_t, const spa_dict* properties) {
  auto* linker = static_cast<StreamLinker*>(data);
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
    linker->AddNode(id, properties);
  } else if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
    linker->AddPort(id, properties);
  }
}

void StreamLinker::GlobalRemoved(void* data, std::uint32_t id) {
  auto* linker = static_cast<StreamLinker*>(data);
  linker->m_ports.erase(id);
  const auto link = linker->m_links.find(id);
  if (link != linker->m_links.end()) {
    Destroy(link->second->proxy, &link->second->hook);
    linker->m_links.erase(link);
  }
  const auto node = linker->m_nodes.find(id);
  if (node != linker->m_nodes.end()) {
    Destroy(node->second->proxy, &node->second->hook);
    linker->m_nodes.erase(node);
  }
}

// What a node asks for is not among what the registry tells of it.
void StreamLinker::AddNode(std::uint32_t id, const spa_dict* properties) {
  auto node = std::make_unique<Node>();
  node->linker = this;
  node->id = id;
  node->serial = Look(properties, PW_KEY_OBJECT_SERIAL);
  node->name = Look(properties, PW_KEY_NODE_NAME);
  node->proxy = static_cast<pw_proxy*>(
      pw_registry_bind(m_registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
  if (node->proxy != nullptr) {
    pw_proxy_add_object_listener(node->proxy, &node->hook, &m_nodeEvents, node.get());
    m_nodes[id] = std::move(node);
  }
}

void StreamLinker::AddPort(std::uint32_t id, const spa_dict* properties) {
  m_ports[id] = {NumberOf(Look(properties, PW_KEY_NODE_ID)),
                 Look(properties, PW_KEY_PORT_DIRECTION) == "out"};
  LinkWhoAsks();
}

void StreamLinker::NodeTold(void* data, const pw_node_info* info) {
  auto* node = static_cast<Node*>(data);
  node->target = Look(info->props, PW_KEY_TARGET_OBJECT);
  if (node->target.empty()) {
    node->target = Look(info->props, PW_KEY_NODE_TARGET);
  }
  node->linker->LinkWhoAsks();
}

bool StreamLinker::AsksForOffered(const Node& node) const {
  const auto offered = m_nodes.find(m_offered);
  return !node.target.empty() && offered != m_nodes.end() &&
         (node.target == offered->second->serial || node.target == offered->second->name ||
          node.target == std::to_string(m_offered));
}

std::uint32_t StreamLinker::PortOf(std::uint32_t node, bool output) const {
  for (const auto& [id, port] : m_ports) {
    if (port.node == node && port.output == output) {
      return id;
    }
  }
  return PW_ID_ANY;
}

void StreamLinker::LinkWhoAsks() {
  const std::uint32_t outputPort = PortOf(m_offered, true);
  if (m_offered == PW_ID_ANY || outputPort == PW_ID_ANY) {
    return;
  }
  for (const auto& [id, node] : m_nodes) {
    const std::uint32_t inputPort = PortOf(id, false);
    if (AsksForOffered(*node) && inputPort != PW_ID_ANY && m_links.count(id) == 0) {
      MakeLink(outputPort, *node, inputPort);
    }
  }
}

void StreamLinker::MakeLink(std::uint32_t outputPort, const Node& input, std::uint32_t inputPort) {
  pw_properties* properties = pw_properties_new(nullptr, nullptr);
  pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", m_offered);
  pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", outputPort);
  pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", input.id);
  pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", inputPort);
  auto link = std::make_unique<Link>();
  link->proxy = static_cast<pw_proxy*>(pw_core_create_object(
      m_core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
  pw_properties_free(properties);
  if (link->proxy != nullptr) {
    pw_proxy_add_object_listener(link->proxy, &link->hook, &m_linkEvents, this);
    m_links[input.id] = std::move(link);
  }
}

// What can't be agreed on is not tried again.
void StreamLinker::LinkTold(void* data, const pw_link_info* info) {
  if ((info->change_mask & PW_LINK_CHANGE_MASK_STATE) != 0) {
    const std::string error = info->error != nullptr ? std::string(" ") + info->error : "";
    Note(std::string("link ") + pw_link_state_as_string(info->state) + error);
    if (info->state == PW_LINK_STATE_ERROR) {
      TakeAway(static_cast<StreamLinker*>(data)->m_registry, info->id);
    }
  }
}

}  // namespace support
