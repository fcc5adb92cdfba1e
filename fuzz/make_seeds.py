#!/usr/bin/env python3
"""Seeds for fuzz_maploader: the smallest valid maps, as .sdz and .sd7 (through libarchive, the
reader's own library) and as a bare .smf, each behind the byte that picks its packing."""
import ctypes
import os
import struct
import sys

MINIMAP_BYTES = 699048


def smf(map_x=4, map_y=4, tile_name=b"m.smt"):
    """Header, grass header, heights, type, metal, grass, tiles, features, then the zero minimap last,
    so a seed cut before the minimap still describes the whole map."""
    heights = b"".join(struct.pack("<H", (i * 7919) & 0xFFFF) for i in range((map_x + 1) * (map_y + 1)))
    quarter = (map_x // 2) * (map_y // 2)
    grass = (map_x // 4) * (map_y // 4)
    tiles = struct.pack("<iii", 1, 1, 1) + tile_name + b"\0" + b"\0" * (4 * grass)
    features = struct.pack("<ii", 1, 0) + b"TreeType0\0"
    at = 92
    height_ptr = at; at += len(heights)
    type_ptr = at; at += quarter
    metal_ptr = at; at += quarter
    grass_ptr = at; at += grass
    tiles_ptr = at; at += len(tiles)
    feature_ptr = at; at += len(features)
    minimap_ptr = at
    header = b"spring map file\0" + struct.pack("<iiiiiiiffiiiiiii", 1, 42, map_x, map_y, 8, 8, 32, -10.0, 90.0,
                                               height_ptr, type_ptr, tiles_ptr, minimap_ptr, metal_ptr,
                                               feature_ptr, 1)
    body = header + struct.pack("<iii", 12, 1, grass_ptr) + heights + bytes(range(quarter)) + b"\x7f" * quarter
    return body + b"\1" * grass + tiles + features, MINIMAP_BYTES


def smt():
    tile = bytes((i * 37) & 0xFF for i in range(680))
    return b"spring tilefile\0" + struct.pack("<iiii", 1, 1, 32, 1) + tile


def archive(fmt, entries):
    lib = ctypes.CDLL("libarchive.so.13")
    lib.archive_write_new.restype = lib.archive_entry_new.restype = ctypes.c_void_p
    a = ctypes.c_void_p(lib.archive_write_new())
    lib.archive_write_set_format_by_name(a, fmt)
    if fmt == b"7zip":
        # LZMA's dictionary is allocated whole for each entry: 1 MiB, not the default 8, keeps seeds fast.
        lib.archive_write_set_options(a, b"7zip:compression-level=1")
    buf = ctypes.create_string_buffer(1 << 22)
    used = ctypes.c_size_t()
    lib.archive_write_open_memory(a, buf, ctypes.c_size_t(len(buf)), ctypes.byref(used))
    for path, data in entries:
        e = ctypes.c_void_p(lib.archive_entry_new())
        lib.archive_entry_set_pathname(e, path.encode())
        lib.archive_entry_set_size(e, ctypes.c_int64(len(data)))
        lib.archive_entry_set_filetype(e, 0o100000)
        lib.archive_entry_set_perm(e, 0o644)
        lib.archive_write_header(a, e)
        lib.archive_write_data(a, data, ctypes.c_size_t(len(data)))
        lib.archive_entry_free(e)
    lib.archive_write_free(a)
    return buf.raw[:used.value]


def fixture_lua(maps_dir):
    """Each fixture folder's Lua files and the names of its .smf and .smt, for real mapinfo programs."""
    for sdd in sorted(os.listdir(maps_dir)):
        root = os.path.join(maps_dir, sdd)
        if not sdd.endswith(".sdd") or not os.path.isdir(root):
            continue
        entries = []
        for folder, _, files in os.walk(root):
            for name in files:
                rel = os.path.relpath(os.path.join(folder, name), root)
                if name.endswith(".lua"):
                    with open(os.path.join(folder, name), "rb") as f:
                        entries.append((rel, f.read()))
                elif name.lower().endswith((".smf", ".smt")):
                    entries.append((rel, None))
        yield sdd, entries


def main(out_dir, maps_dir=None):
    os.makedirs(out_dir, exist_ok=True)
    head, minimap_bytes = smf()
    whole = head + bytes(minimap_bytes)
    mapinfos = {
        "plain": None,
        "overrides": b"return {name = 'Seed', maxMetal = 1.5, smf = {minheight = 50, maxheight = -20, "
                     b"smtFileName0 = 'maps/M.SMT'}}",
        "includes": b"local t = VFS.Include('mapconfig/extra.lua') "
                    b"t.smf = {maxheight = #VFS.DirList('maps', '*.s?t') * 100} return t",
    }
    extra = b"local s = VFS.LoadFile('maps/m.smt') return {name = string.sub(s or '', 1, 4)}"
    seeds = {"smf-min": b"\2" + struct.pack("<I", len(whole)) + head}
    for key, info in mapinfos.items():
        entries = [("maps/m.smf", whole), ("maps/m.smt", smt())]
        if info:
            entries += [("mapinfo.lua", info), ("mapconfig/extra.lua", extra)]
        seeds["sdz-" + key] = b"\0" + archive(b"zip", entries)
        seeds["sd7-" + key] = b"\1" + archive(b"7zip", entries)
    for sdd, entries in fixture_lua(maps_dir) if maps_dir and os.path.isdir(maps_dir) else []:
        entries = [(rel, data if data is not None else whole if rel.lower().endswith(".smf") else smt())
                   for rel, data in entries]
        seeds["sdz-" + sdd] = b"\0" + archive(b"zip", entries)
        seeds["sd7-" + sdd] = b"\1" + archive(b"7zip", entries)
    for name, data in seeds.items():
        with open(os.path.join(out_dir, name), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main(*sys.argv[1:3])
