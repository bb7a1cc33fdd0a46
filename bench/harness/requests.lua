-- What wrk asks for, and its figures as a line of JSON.

-- Arguments: the file's size and the range's, for ranges at random offsets.
function init(arguments)
   local file, range = tonumber(arguments[1]), tonumber(arguments[2])
   if range then
      request = function()
         local first = math.random(0, file - range)
         return wrk.format("GET", nil, { ["Host"] = wrk.headers["Host"], ["Connection"] = "close",
            ["Range"] = string.format("bytes=%d-%d", first, first + range - 1) })
      end
   end
end

function done(summary, latency)
   local errors = summary.errors
   local failures = errors.connect + errors.read + errors.write + errors.status + errors.timeout
   print(string.format('{"units": %d, "failures": %d, "failure": "%d connect, %d read, %d write, '
      .. '%d status, %d timeout", "bytes": %.0f, "seconds": %f, "p50": %f}', summary.requests,
      failures, errors.connect, errors.read, errors.write, errors.status, errors.timeout,
      summary.bytes, summary.duration / 1e6, latency:percentile(50) / 1e6))
end
