// Placeholder translation unit for a layer that has no sources of its own yet.
namespace nybase::detail {
[[maybe_unused]] static const int k_emptyLayer = 0;
}
