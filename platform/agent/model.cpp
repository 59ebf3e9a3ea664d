#include "model.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "confinement.h"

namespace agentd {
namespace {

constexpr const char* kAnnotations = "element-model-annotations";

std::uint64_t Number(std::string_view text, int base, const std::string& where) {
  const std::string_view digits = base == 16 && text.starts_with("0x") ? text.substr(2) : text;
  std::uint64_t number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
  if (error != std::errc{} || end != digits.data() + digits.size()) {
    throw std::runtime_error("data model: '" + std::string(text) + "' at " + where +
                             " is not a number");
  }
  return number;
}

std::uint32_t TagFrom(const lysc_ext_instance* statements, const char* name) {
  const char* given = Annotation(statements, "tag-hash");
  return given != nullptr ? static_cast<std::uint32_t>(Number(given, 16, name)) : HashOfName(name);
}

std::vector<std::filesystem::path> ModuleFiles(const std::filesystem::path& directory) {
  std::error_code error;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    if (entry.path().extension() == ".yang") {
      files.push_back(entry.path());
    }
  }
  if (error) {
    throw std::runtime_error("read YANG modules in '" + directory.native() +
                             "': " + error.message() + "; name their directory with --yang-dir");
  }
  if (files.empty()) {
    throw std::runtime_error("read YANG modules in '" + directory.native() +
                             "': there are none; name their directory with --yang-dir");
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string ModuleName(const std::filesystem::path& file) {
  const std::string stem = file.stem().native();
  return stem.substr(0, stem.find('@'));
}

// What LYSC_TREE_DFS does for one subtree, without its macros.
template <typename Visitor>
void Visit(const lysc_node* node, const Visitor& visit) {
  for (; node != nullptr; node = node->next) {
    visit(*node);
    Visit(lysc_node_child(node), visit);
  }
}

}  // namespace

const char* Annotation(const lysc_ext_instance* statements, std::string_view name) {
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(statements, i) {
    const lysc_ext& definition = *statements[i].def;
    if (name == definition.name && std::string_view(kAnnotations) == definition.module->name) {
      return statements[i].argument != nullptr ? statements[i].argument : "";
    }
  }
  return nullptr;
}

std::uint32_t HashOfName(std::string_view name) {
  std::uint32_t hash = 0x811c9dc5;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193U;
  }
  return hash;
}

Model::Model(const std::filesystem::path& directory) {
  ly_log_options(LY_LOSTORE);  // errors are read from the context, never printed
  Load(directory);
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context_.get(), &index)) {
    if (module->implemented && module->compiled != nullptr) {
      Learn(*module);
    }
  }
  for (const lysc_node* node = FindConfinedList(Modules()); node != nullptr; node = node->parent) {
    way_to_parts_.insert(way_to_parts_.begin(), node);
  }
}

void Model::Load(const std::filesystem::path& directory) {
  const auto files = ModuleFiles(directory);
  ly_ctx* context = nullptr;
  // The parsed nodes hold the texts of `when` statements, the compiled do not.
  if (ly_ctx_new(directory.c_str(),
                 LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD | LY_CTX_SET_PRIV_PARSED,
                 &context) != LY_SUCCESS) {
    throw std::runtime_error("read YANG modules in '" + directory.native() +
                             "': libyang refuses the directory");
  }
  context_.reset(context);
  for (const auto& file : files) {
    if (ly_ctx_load_module(context, ModuleName(file).c_str(), nullptr, nullptr) == nullptr) {
      throw std::runtime_error("load YANG module '" + file.native() +
                               "': " + TakeErrors(context, "libyang refuses it").front().message);
    }
  }
  ly_err_clean(context, nullptr);
}

void Model::Learn(const lys_module& module) {
  namespaces_[&module] = TagFrom(module.compiled->exts, module.ns);
  Visit(module.compiled->data, [this](const lysc_node& node) { Learn(node); });
  Visit(module.compiled->data, [this](const lysc_node& node) { LearnCapacity(node); });
  for (const lysc_node_action* operation = module.compiled->rpcs; operation != nullptr;
       operation = operation->next) {
    Learn(operation->node);
    Visit(operation->input.child, [this](const lysc_node& node) { Learn(node); });
    Visit(operation->output.child, [this](const lysc_node& node) { Learn(node); });
  }
}

void Model::Learn(const lysc_node& node) {
  const std::uint32_t tag = TagFrom(node.exts, node.name);
  tags_[&node] = tag;
  Name(tag, node.name);
}

void Model::LearnCapacity(const lysc_node& node) {
  const char* limit = Annotation(node.exts, "capacity");
  if (limit == nullptr) {
    return;
  }
  Capacity capacity{&node, Number(limit, 10, node.name), {}};
  Visit(lysc_node_child(&node), [&capacity](const lysc_node& below) {
    if (Annotation(below.exts, "counts-towards-capacity") != nullptr) {
      capacity.counted.insert(&below);
    }
  });
  capacities_.push_back(std::move(capacity));
}

void Model::Name(std::uint32_t tag, const std::string& name) {
  const auto [entry, is_new] = names_.emplace(tag, name);
  if (!is_new && entry->second != name) {
    throw std::runtime_error("data model: '" + name + "' and '" + entry->second +
                             "' have the same tag hash; give one a tag-hash statement");
  }
}

std::vector<const lysc_module*> Model::Modules() const {
  std::vector<const lysc_module*> modules;
  for (const auto& [module, hash] : namespaces_) {
    modules.push_back(module->compiled);
  }
  return modules;
}

const lysc_node* Model::Child(const lysc_node* parent, std::string_view name) const {
  const std::size_t colon = name.find(':');
  const std::string_view module = colon == name.npos ? "" : name.substr(0, colon);
  const std::string_view local = colon == name.npos ? name : name.substr(colon + 1);
  const auto matches = [&](const lysc_node& node) {
    return local == node.name && (module.empty() || module == node.module->name);
  };
  const auto find = [&](const lysc_node* first) {
    while (first != nullptr && !matches(*first)) {
      first = first->next;
    }
    return first;
  };
  if (parent != nullptr) {
    return find(lysc_node_child(parent));
  }
  for (const auto& [owner, hash] : namespaces_) {
    if (const lysc_node* found = find(owner->compiled->data)) {
      return found;
    }
  }
  return nullptr;
}

}  // namespace agentd
