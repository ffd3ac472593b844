# Flags every target of the project shares.
#
# Outputs are defined in separately rounded double arithmetic, so no build may
# contract a product and a sum into one fused operation or relax IEEE rules.
add_library(lumomath_options INTERFACE)
target_compile_options(lumomath_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  -ffp-contract=off -fno-fast-math)

if(LUMOMATH_SANITIZE)
  list(JOIN LUMOMATH_SANITIZE "," _lumo_sanitizers)
  add_compile_options(-fsanitize=${_lumo_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${_lumo_sanitizers})
endif()
