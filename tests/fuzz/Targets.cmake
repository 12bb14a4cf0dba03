# The fuzz targets, for the fuzzer's programs and for the test of the corpora. A target NAME is NAME_fuzz.cpp, with seeds in
# corpus/NAME and optional words in NAME.dict.
set(QUARN_FORMAT_TARGETS property_list macho code_signature entitlements_der bill_of_materials)
set(QUARN_PART_TARGETS text text_time pattern file_url vendor_json signatures_json game_list rpc_line rpc_call records scan)

# What the second list needs besides QuarnPlatform, QuarnModels and QuarnCore/vendors.
set(QUARN_FUZZED_SOURCES
    QuarnCore/storage/StorageSignatureJSON QuarnCore/storage/MarkerPattern QuarnCore/storage/SteamLibraries
    QuarnCore/discovery/ExtensionEvidence QuarnCore/folders/LargestItems QuarnCore/scans/Database QuarnCore/scans/Scan QuarnCore/scans/ScanDifference
    QuarnCore/scans/ScanError QuarnCore/scans/ScanHeader QuarnCore/scans/ScanSchema QuarnCore/scans/ScannedItems
    QuarnCore/scans/ScannedOwners quarn/rpc/Message quarn/rpc/RPCError quarn/wire/RecordJSON)
