-- wrk -s load.lua URL -- TOKEN METHOD      prints: result REQUESTS/S P50_US P99_US FAILURES
function init(arguments)
    wrk.method = "POST"
    wrk.headers["Authorization"] = "Bearer " .. arguments[1]
    wrk.headers["Content-Type"] = "application/json"
    wrk.headers["Accept"] = "application/json, text/event-stream"
    wrk.headers["Mcp-Session-Id"] = "bench" -- for the one server that has sessions
    wrk.body = '{"jsonrpc":"2.0","id":1,"method":"' .. arguments[2] .. '"}'
end

function done(summary, latency)
    local failures = summary.errors
    io.write(string.format("result %.0f %.0f %.0f %d\n",
        summary.requests / summary.duration * 1e6, latency:percentile(50), latency:percentile(99),
        -- Not errors.timeout: wrk counts responses there that took two seconds, which the
        -- percentiles include.
        failures.connect + failures.read + failures.write + failures.status))
end
