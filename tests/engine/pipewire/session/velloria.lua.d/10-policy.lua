components = {}

local function load(name, kind, arguments)
  components[name] = { name, type = kind, args = arguments }
end

-- As a desktop has it: streams follow the default and what a person chooses.
local policy = { ["move"] = true, ["follow"] = true }

load("access/access-default.lua", "script/lua", { rules = {} })
load("libwireplumber-module-default-nodes", "module", { ["use-persistent-storage"] = false })
for _, name in ipairs { "metadata", "si-node", "si-audio-adapter", "si-standard-link", "si-audio-endpoint",
                        "default-nodes-api", "mixer-api" } do
  load("libwireplumber-module-" .. name, "module")
end
for _, name in ipairs { "static-endpoints", "create-item", "policy-node" } do
  load(name .. ".lua", "script/lua", name == "static-endpoints" and {} or policy)
end
