// Drives `quarn rpc` from Swift: starts the process, lists the applications of a volume and inspects the first.
//
//   swiftc QuarnClient.swift -o client && ./client /opt/homebrew/bin/quarn [--volume DIR --home /Users/NAME]
//
// Requests and answers are one JSON value a line; docs/rpc.md is the contract.
import Foundation

struct QuarnError: Error {
    let message: String
}

/// One `quarn rpc` process. Not for use from two threads at once.
final class QuarnClient {
    private let process = Process()
    private let input = Pipe()
    private let output = Pipe()
    private var unread = Data()
    private var lastID = 0

    init(program: String, options: [String]) throws {
        process.executableURL = URL(fileURLWithPath: program)
        process.arguments = options + ["rpc"]
        process.standardInput = input
        process.standardOutput = output
        try process.run()
    }

    /// The result of one call; throws the message of an error answer. Notifications on the way are left out.
    func call(_ method: String, _ parameters: [String: Any] = [:]) throws -> Any {
        lastID += 1
        let request: [String: Any] = ["jsonrpc": "2.0", "id": lastID, "method": method, "params": parameters]
        var line = try JSONSerialization.data(withJSONObject: request)
        line.append(UInt8(ascii: "\n"))
        try input.fileHandleForWriting.write(contentsOf: line)
        while true {
            guard let answer = try JSONSerialization.jsonObject(with: readLine()) as? [String: Any] else {
                throw QuarnError(message: "an answer that is not an object")
            }
            guard answer["id"] as? Int == lastID else { continue }
            if let error = answer["error"] as? [String: Any] {
                throw QuarnError(message: error["message"] as? String ?? "unknown error")
            }
            return answer["result"] ?? NSNull()
        }
    }

    /// Closes the process's input, at which it ends.
    func close() {
        try? input.fileHandleForWriting.close()
        process.waitUntilExit()
    }

    private func readLine() throws -> Data {
        while true {
            if let end = unread.firstIndex(of: UInt8(ascii: "\n")) {
                let line = unread[unread.startIndex..<end]
                unread = Data(unread[unread.index(after: end)...])
                return Data(line)
            }
            let more = output.fileHandleForReading.availableData
            if more.isEmpty { throw QuarnError(message: "quarn ended") }
            unread.append(more)
        }
    }
}

/// A thorough inspection without the search in Documents.
let inspectionOptions: [String: Any] = [
    "includeHeuristicSearch": true, "heuristicMaxDepth": 3, "heuristicMaxResults": 50,
    "includeDocumentsHeuristicSearch": false, "documentsHeuristicMaxDepth": 0, "documentsHeuristicMaxResults": 0,
    "includeVendorHeuristics": true, "includeSystemArtifacts": true, "includeSystemHeuristicSearch": true,
    "includeGroupContainers": true, "includeLaunchd": true, "includeReceipts": true, "includeKernelExtensions": true,
    "computeArtifactSizes": true,
]

do {
    let words = CommandLine.arguments
    guard words.count >= 2 else { throw QuarnError(message: "usage: client QUARN [OPTIONS]") }
    let quarn = try QuarnClient(program: words[1], options: Array(words.dropFirst(2)))
    defer { quarn.close() }
    let apps = try quarn.call("AppsService.discoverApps") as? [[String: Any]] ?? []
    for app in apps { print(app["name"] as? String ?? "?") }
    if let first = apps.first {
        let answer = try quarn.call("AppInspectionService.inspect", ["app": first, "options": inspectionOptions])
        let inspection = answer as? [String: Any] ?? [:]
        let artifacts = inspection["artifacts"] as? [[String: Any]] ?? []
        print("\(first["name"] ?? "?"): \(artifacts.count) artifacts")
    }
} catch let error as QuarnError {
    FileHandle.standardError.write(Data("client: \(error.message)\n".utf8))
    exit(1)
} catch {
    FileHandle.standardError.write(Data("client: \(error)\n".utf8))
    exit(1)
}
