#include "tessel/core/Options.h"

namespace Tessel {

nitf_config::option<int> s_opt_lumo_iopool_block_cache(L"lumo.iopool.block_cache", 1000);
nitf_config::option<int> s_opt_lumo_iopool_block_size(L"lumo.iopool.block_size", 1048576);
nitf_config::option<int> s_opt_lumo_iopool_threads(L"lumo.iopool.threads", 0);
nitf_config::option<bool> s_opt_lumo_log_cache_usage(L"lumo.log.cache_usage", false);
nitf_config::option<int> s_opt_lumo_tilepool_threads(L"lumo.tilepool.threads", 0);
nitf_config::option<int> s_opt_lumo_tilepool_ttl(L"lumo.tilepool.ttl", 2000);
nitf_config::option<int> s_opt_tessel_warehouse_interactive_type_cache_size(
    L"tessel.warehouse.interactive_type_cache.size", 2000);
nitf_config::option<int> s_opt_tessel_warehouse_interactive_file_cache_ttl(
    L"tessel.warehouse.interactive_file_cache.ttl", 1000);
nitf_config::option<int> s_opt_tessel_warehouse_background_type_cache_size(
    L"tessel.warehouse.background_type_cache.size", 2000);
nitf_config::option<int> s_opt_tessel_warehouse_background_file_cache_ttl(
    L"tessel.warehouse.background_file_cache.ttl", 500);
nitf_config::option<int> s_opt_tessel_image_max_histogram_tiles(L"tessel.image.max_histogram_tiles",
                                                                4);
nitf_config::option<int> s_opt_tessel_image_max_histogram_area(L"tessel.image.max_histogram_area",
                                                               16777216);
nitf_config::option<bool> s_opt_nitf_j2k_opj_enabled(L"nitf.j2k.opj.enabled", false);
nitf_config::option<int> s_opt_nitf_j2k_opj_inventory(L"nitf.j2k.opj.inventory", 0);
nitf_config::option<bool> s_opt_nitf_j2k_kdu_enabled(L"nitf.j2k.kdu.enabled", true);
nitf_config::option<int> s_opt_nitf_j2k_kdu_inventory(L"nitf.j2k.kdu.inventory", 0);
nitf_config::option<int> s_opt_nitf_j2k_kdu_clip(L"nitf.j2k.kdu.clip", -1);
nitf_config::option<int> s_opt_nitf_j2k_kdu_max_rlevel(L"nitf.j2k.kdu.max.rlevel", 4);
nitf_config::option<bool> s_opt_nitf_j2k_kdu_use_tile_package(L"nitf.j2k.kdu.use_tile_package",
                                                              true);
nitf_config::option<bool> s_opt_vexa_igeolo_enable(L"vexa_igeolo.enable", true);
nitf_config::option<bool> s_opt_vexa_blocka_enable(L"vexa_blocka.enable", true);
nitf_config::option<bool> s_opt_vexa_cscrna_enable(L"vexa_cscrna.enable", true);
nitf_config::option<bool> s_opt_vexa_rpc_enable(L"vexa_rpc.enable", true);
nitf_config::option<double> s_opt_vexa_rpc_pixel_offset(L"vexa_rpc.pixel_offset", 0.0);
nitf_config::option<int> s_opt_vexa_rpc_max_iterations(L"vexa_rpc.max_iterations", 100);
nitf_config::option<bool> s_opt_vexa_rsm_enable(L"vexa_rsm.enable", true);
nitf_config::option<double> s_opt_vexa_rsm_pixel_offset(L"vexa_rsm.pixel_offset", 0.0);
nitf_config::option<int> s_opt_vexa_rsm_max_iterations(L"vexa_rsm.max_iterations", 100);
nitf_config::option<int> s_opt_vexa_rsm_debug(L"vexa_rsm.debug", 0);

}  // namespace Tessel

namespace lumo_concurrency {

nitf_config::option<double> s_opt_lumo_thread_pool_interactive_scale_factor(
    L"lumo.thread_pool.interactive_scale_factor", 0.5);
nitf_config::option<double> s_opt_lumo_thread_pool_background_scale_factor(
    L"lumo.thread_pool.background_scale_factor", 1.0);

}  // namespace lumo_concurrency
