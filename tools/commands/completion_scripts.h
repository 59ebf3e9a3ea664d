// What shells run to complete cfmctl's words. They leave the thinking to the
// hidden command __complete.
#ifndef TOOLS_COMMANDS_COMPLETION_SCRIPTS_H
#define TOOLS_COMMANDS_COMPLETION_SCRIPTS_H

#include <string_view>

namespace cfmctl {

// The candidate that stands for the names of files.
inline constexpr std::string_view kFileCandidates = ":files";

inline constexpr std::string_view kBashCompletion = R"(# bash completion of cfmctl
_cfmctl() {
  local line=${COMP_LINE:0:COMP_POINT}
  mapfile -t COMPREPLY < <("$1" __complete -- "$line" "$2" 2>/dev/null)
  if [[ ${COMPREPLY[0]} == :files ]]; then
    compopt -o filenames +o nospace 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$2")
  fi
}
complete -o nospace -F _cfmctl cfmctl
)";

inline constexpr std::string_view kZshCompletion = R"(#compdef cfmctl
# zsh completion of cfmctl
_cfmctl() {
  local line="${(j: :)words[1,CURRENT-1]} $PREFIX"
  local -a candidates
  candidates=("${(@f)$(${words[1]} __complete -- "$line" "$PREFIX" 2>/dev/null)}")
  if [[ ${candidates[1]} == :files ]]; then
    _files
  elif [[ -n ${candidates[1]} ]]; then
    compadd -Q -S '' -- "${candidates[@]}"
  fi
}
if [[ ${funcstack[1]} == _cfmctl ]]; then
  _cfmctl "$@"
else
  compdef _cfmctl cfmctl
fi
)";

}  // namespace cfmctl

#endif
