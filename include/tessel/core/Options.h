#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Every configuration option of the library, each a key of the section "Preferences".

#include "tessel/core/Option.h"

namespace Tessel {

extern nitf_config::option<int> s_opt_lumo_iopool_block_cache;
extern nitf_config::option<int> s_opt_lumo_iopool_block_size;
extern nitf_config::option<int> s_opt_lumo_iopool_threads;
extern nitf_config::option<bool> s_opt_lumo_log_cache_usage;
extern nitf_config::option<int> s_opt_lumo_tilepool_threads;
extern nitf_config::option<int> s_opt_lumo_tilepool_ttl;
extern nitf_config::option<int> s_opt_tessel_warehouse_interactive_type_cache_size;
extern nitf_config::option<int> s_opt_tessel_warehouse_interactive_file_cache_ttl;
extern nitf_config::option<int> s_opt_tessel_warehouse_background_type_cache_size;
extern nitf_config::option<int> s_opt_tessel_warehouse_background_file_cache_ttl;
extern nitf_config::option<int> s_opt_tessel_image_max_histogram_tiles;
extern nitf_config::option<int> s_opt_tessel_image_max_histogram_area;
extern nitf_config::option<bool> s_opt_nitf_j2k_opj_enabled;
extern nitf_config::option<int> s_opt_nitf_j2k_opj_inventory;
extern nitf_config::option<bool> s_opt_nitf_j2k_kdu_enabled;
extern nitf_config::option<int> s_opt_nitf_j2k_kdu_inventory;
extern nitf_config::option<int> s_opt_nitf_j2k_kdu_clip;
extern nitf_config::option<int> s_opt_nitf_j2k_kdu_max_rlevel;
extern nitf_config::option<bool> s_opt_nitf_j2k_kdu_use_tile_package;
extern nitf_config::option<bool> s_opt_vexa_igeolo_enable;
extern nitf_config::option<bool> s_opt_vexa_blocka_enable;
extern nitf_config::option<bool> s_opt_vexa_cscrna_enable;
extern nitf_config::option<bool> s_opt_vexa_rpc_enable;
extern nitf_config::option<double> s_opt_vexa_rpc_pixel_offset;
extern nitf_config::option<int> s_opt_vexa_rpc_max_iterations;
extern nitf_config::option<bool> s_opt_vexa_rsm_enable;
extern nitf_config::option<double> s_opt_vexa_rsm_pixel_offset;
extern nitf_config::option<int> s_opt_vexa_rsm_max_iterations;
extern nitf_config::option<int> s_opt_vexa_rsm_debug;

}  // namespace Tessel

namespace lumo_concurrency {

// The share of the processors that a worker pool takes when its thread option is 0.
extern nitf_config::option<double> s_opt_lumo_thread_pool_interactive_scale_factor;
extern nitf_config::option<double> s_opt_lumo_thread_pool_background_scale_factor;

}  // namespace lumo_concurrency

TESSEL_PUBLIC_END
