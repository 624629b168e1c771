#pragma once

// Answers of real engines to `GET /system/df?verbose=1`, kept to test both shapes of it.
// The first is Docker 20.10 (API 1.41) as recorded from a fixture engine: base:1 imported,
// spare:1 and tool:1 built on it, tool:1 built again (leaving a dangling image), cached:1
// built with BuildKit (filling the build cache), a running container "live" mounting
// data-live, a stopped container "stopped-one", and an unused volume data-old. The second
// holds the same objects in the shape of API 1.52 and later, which moved the lists into
// "ImageUsage", "ContainerUsage", "VolumeUsage" and "BuildCacheUsage" objects.
namespace tw::test {

inline constexpr const char* dockerDfApi141 = R"json({
 "LayersSize": 7182265,
 "Images": [
  {
   "Containers": 1,
   "Created": 1795396985,
   "Id": "sha256:139ad13d9135957a0ad22ad54f86884b876d7a4937f48e9ba07ea55b4d2fff35",
   "Labels": null,
   "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
   "RepoDigests": null,
   "RepoTags": [
    "tool:1"
   ],
   "SharedSize": 1982263,
   "Size": 2982265,
   "VirtualSize": 2982265
  },
  {
   "Containers": 0,
   "Created": 1795396985,
   "Id": "sha256:c996c511115632d72f60061d1c890321fd81f8dac41636b99aac217e2c78c082",
   "Labels": null,
   "ParentId": "",
   "RepoDigests": null,
   "RepoTags": [
    "cached:1"
   ],
   "SharedSize": 1982263,
   "Size": 3182263,
   "VirtualSize": 3182263
  },
  {
   "Containers": 0,
   "Created": 1795396984,
   "Id": "sha256:43139dd30f06db1cfdd21b8c001946b5294dec7537d79fad61c082c58c752e84",
   "Labels": null,
   "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
   "RepoDigests": [
    "<none>@<none>"
   ],
   "RepoTags": [
    "<none>:<none>"
   ],
   "SharedSize": 1982263,
   "Size": 2982263,
   "VirtualSize": 2982263
  },
  {
   "Containers": 1,
   "Created": 1795396984,
   "Id": "sha256:72f21dcfd24f30cf2285587a9f12864a6660e2466de77e168acc20fce1756e10",
   "Labels": null,
   "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
   "RepoDigests": null,
   "RepoTags": [
    "spare:1"
   ],
   "SharedSize": 1982263,
   "Size": 3982263,
   "VirtualSize": 3982263
  },
  {
   "Containers": 0,
   "Created": 1795396983,
   "Id": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
   "Labels": null,
   "ParentId": "",
   "RepoDigests": null,
   "RepoTags": [
    "base:1"
   ],
   "SharedSize": 1982263,
   "Size": 1982263,
   "VirtualSize": 1982263
  }
 ],
 "Containers": [
  {
   "Id": "d7cea7e8249ba9fa8ea65fd9a76435483aeae77b574c5a08950137a17611facf",
   "Names": [
    "/live"
   ],
   "Image": "tool:1",
   "ImageID": "sha256:139ad13d9135957a0ad22ad54f86884b876d7a4937f48e9ba07ea55b4d2fff35",
   "Command": "/bin/busybox sleep 600",
   "Created": 1795396986,
   "Ports": [],
   "SizeRootFs": 2982265,
   "Labels": {},
   "State": "running",
   "Status": "Up Less than a second",
   "HostConfig": {
    "NetworkMode": "none"
   },
   "NetworkSettings": {
    "Networks": {
     "none": {
      "IPAMConfig": null,
      "Links": null,
      "Aliases": null,
      "NetworkID": "06fb39864510985a4f60f993254ca3510a4075987f0ee4600771e8fe66b703ee",
      "EndpointID": "5933095ff4eb1134a735f6505ea982be20961fcf3fb384e7eb68f0cbc958ccb3",
      "Gateway": "",
      "IPAddress": "",
      "IPPrefixLen": 0,
      "IPv6Gateway": "",
      "GlobalIPv6Address": "",
      "GlobalIPv6PrefixLen": 0,
      "MacAddress": "",
      "DriverOpts": null
     }
    }
   },
   "Mounts": [
    {
     "Type": "volume",
     "Name": "data-live",
     "Source": "/tmp/twda/root/volumes/data-live/_data",
     "Destination": "/v",
     "Driver": "local",
     "Mode": "z",
     "RW": true,
     "Propagation": ""
    }
   ]
  },
  {
   "Id": "49b05768cb88605234e00e8d03fa396d70a8ef8cf74305ab0996844ff94c72cb",
   "Names": [
    "/stopped-one"
   ],
   "Image": "spare:1",
   "ImageID": "sha256:72f21dcfd24f30cf2285587a9f12864a6660e2466de77e168acc20fce1756e10",
   "Command": "/bin/busybox true",
   "Created": 1795396986,
   "Ports": [],
   "SizeRootFs": 3982263,
   "Labels": {},
   "State": "exited",
   "Status": "Exited (0) Less than a second ago",
   "HostConfig": {
    "NetworkMode": "none"
   },
   "NetworkSettings": {
    "Networks": {
     "none": {
      "IPAMConfig": null,
      "Links": null,
      "Aliases": null,
      "NetworkID": "06fb39864510985a4f60f993254ca3510a4075987f0ee4600771e8fe66b703ee",
      "EndpointID": "",
      "Gateway": "",
      "IPAddress": "",
      "IPPrefixLen": 0,
      "IPv6Gateway": "",
      "GlobalIPv6Address": "",
      "GlobalIPv6PrefixLen": 0,
      "MacAddress": "",
      "DriverOpts": null
     }
    }
   },
   "Mounts": []
  }
 ],
 "Volumes": [
  {
   "CreatedAt": "2026-11-23T01:23:05Z",
   "Driver": "local",
   "Labels": {},
   "Mountpoint": "/tmp/twda/root/volumes/data-live/_data",
   "Name": "data-live",
   "Options": {},
   "Scope": "local",
   "UsageData": {
    "RefCount": 1,
    "Size": 0
   }
  },
  {
   "CreatedAt": "2026-11-23T01:23:05Z",
   "Driver": "local",
   "Labels": {},
   "Mountpoint": "/tmp/twda/root/volumes/data-old/_data",
   "Name": "data-old",
   "Options": {},
   "Scope": "local",
   "UsageData": {
    "RefCount": 0,
    "Size": 0
   }
  }
 ],
 "BuildCache": [
  {
   "ID": "7fw5hx03e7podzg0hcsvg53nv",
   "Parent": "r4fa353hpo60wo8lxwm8ia3ga",
   "Type": "regular",
   "Description": "fileop target",
   "InUse": false,
   "Shared": true,
   "Size": 1200000,
   "CreatedAt": "2026-11-23T01:23:05.80062507Z",
   "LastUsedAt": "2026-11-23T01:23:05.875549862Z",
   "UsageCount": 1
  },
  {
   "ID": "w41kckt6qnrdkzplelyl2eyov",
   "Parent": "",
   "Type": "source.local",
   "Description": "local source for context",
   "InUse": false,
   "Shared": false,
   "Size": 0,
   "CreatedAt": "2026-11-23T01:23:05.689234218Z",
   "LastUsedAt": "2026-11-23T01:23:05.882242628Z",
   "UsageCount": 1
  },
  {
   "ID": "fye3ld1u2uigetzmrjfsbe7o8",
   "Parent": "",
   "Type": "source.local",
   "Description": "local source for context",
   "InUse": false,
   "Shared": false,
   "Size": 1200000,
   "CreatedAt": "2026-11-23T01:23:05.722942125Z",
   "LastUsedAt": "2026-11-23T01:23:05.869602995Z",
   "UsageCount": 1
  },
  {
   "ID": "9ijaggz3jj3gsfl9cxfewt7tm",
   "Parent": "",
   "Type": "source.local",
   "Description": "local source for dockerfile",
   "InUse": false,
   "Shared": false,
   "Size": 22,
   "CreatedAt": "2026-11-23T01:23:05.663949293Z",
   "LastUsedAt": "2026-11-23T01:23:05.861052746Z",
   "UsageCount": 1
  },
  {
   "ID": "r4fa353hpo60wo8lxwm8ia3ga",
   "Parent": "",
   "Type": "regular",
   "Description": "from local ",
   "InUse": false,
   "Shared": true,
   "Size": 0,
   "CreatedAt": "2026-11-23T01:23:05.72519398Z",
   "LastUsedAt": "2026-11-23T01:23:05.862473078Z",
   "UsageCount": 1
  }
 ],
 "BuilderSize": 2400022
})json";

inline constexpr const char* dockerDfApi152 = R"json({
 "ImageUsage": {
  "ActiveCount": 2,
  "TotalCount": 5,
  "Reclaimable": 2000002,
  "TotalSize": 7182265,
  "Items": [
   {
    "Containers": 1,
    "Created": 1795396985,
    "Id": "sha256:139ad13d9135957a0ad22ad54f86884b876d7a4937f48e9ba07ea55b4d2fff35",
    "Labels": null,
    "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
    "RepoDigests": null,
    "RepoTags": [
     "tool:1"
    ],
    "SharedSize": 1982263,
    "Size": 2982265
   },
   {
    "Containers": 0,
    "Created": 1795396985,
    "Id": "sha256:c996c511115632d72f60061d1c890321fd81f8dac41636b99aac217e2c78c082",
    "Labels": null,
    "ParentId": "",
    "RepoDigests": null,
    "RepoTags": [
     "cached:1"
    ],
    "SharedSize": 1982263,
    "Size": 3182263
   },
   {
    "Containers": 0,
    "Created": 1795396984,
    "Id": "sha256:43139dd30f06db1cfdd21b8c001946b5294dec7537d79fad61c082c58c752e84",
    "Labels": null,
    "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
    "RepoDigests": [
     "<none>@<none>"
    ],
    "RepoTags": [
     "<none>:<none>"
    ],
    "SharedSize": 1982263,
    "Size": 2982263
   },
   {
    "Containers": 1,
    "Created": 1795396984,
    "Id": "sha256:72f21dcfd24f30cf2285587a9f12864a6660e2466de77e168acc20fce1756e10",
    "Labels": null,
    "ParentId": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
    "RepoDigests": null,
    "RepoTags": [
     "spare:1"
    ],
    "SharedSize": 1982263,
    "Size": 3982263
   },
   {
    "Containers": 0,
    "Created": 1795396983,
    "Id": "sha256:77ae308decbf12ed7f047634d87e8b7121d078770d29849e7f787c16d64b5db1",
    "Labels": null,
    "ParentId": "",
    "RepoDigests": null,
    "RepoTags": [
     "base:1"
    ],
    "SharedSize": 1982263,
    "Size": 1982263
   }
  ]
 },
 "ContainerUsage": {
  "ActiveCount": 1,
  "TotalCount": 2,
  "Reclaimable": 0,
  "TotalSize": 0,
  "Items": [
   {
    "Id": "d7cea7e8249ba9fa8ea65fd9a76435483aeae77b574c5a08950137a17611facf",
    "Names": [
     "/live"
    ],
    "Image": "tool:1",
    "ImageID": "sha256:139ad13d9135957a0ad22ad54f86884b876d7a4937f48e9ba07ea55b4d2fff35",
    "Command": "/bin/busybox sleep 600",
    "Created": 1795396986,
    "Ports": [],
    "SizeRootFs": 2982265,
    "Labels": {},
    "State": "running",
    "Status": "Up Less than a second",
    "HostConfig": {
     "NetworkMode": "none"
    },
    "NetworkSettings": {
     "Networks": {
      "none": {
       "IPAMConfig": null,
       "Links": null,
       "Aliases": null,
       "NetworkID": "06fb39864510985a4f60f993254ca3510a4075987f0ee4600771e8fe66b703ee",
       "EndpointID": "5933095ff4eb1134a735f6505ea982be20961fcf3fb384e7eb68f0cbc958ccb3",
       "Gateway": "",
       "IPAddress": "",
       "IPPrefixLen": 0,
       "IPv6Gateway": "",
       "GlobalIPv6Address": "",
       "GlobalIPv6PrefixLen": 0,
       "MacAddress": "",
       "DriverOpts": null
      }
     }
    },
    "Mounts": [
     {
      "Type": "volume",
      "Name": "data-live",
      "Source": "/tmp/twda/root/volumes/data-live/_data",
      "Destination": "/v",
      "Driver": "local",
      "Mode": "z",
      "RW": true,
      "Propagation": ""
     }
    ]
   },
   {
    "Id": "49b05768cb88605234e00e8d03fa396d70a8ef8cf74305ab0996844ff94c72cb",
    "Names": [
     "/stopped-one"
    ],
    "Image": "spare:1",
    "ImageID": "sha256:72f21dcfd24f30cf2285587a9f12864a6660e2466de77e168acc20fce1756e10",
    "Command": "/bin/busybox true",
    "Created": 1795396986,
    "Ports": [],
    "SizeRootFs": 3982263,
    "Labels": {},
    "State": "exited",
    "Status": "Exited (0) Less than a second ago",
    "HostConfig": {
     "NetworkMode": "none"
    },
    "NetworkSettings": {
     "Networks": {
      "none": {
       "IPAMConfig": null,
       "Links": null,
       "Aliases": null,
       "NetworkID": "06fb39864510985a4f60f993254ca3510a4075987f0ee4600771e8fe66b703ee",
       "EndpointID": "",
       "Gateway": "",
       "IPAddress": "",
       "IPPrefixLen": 0,
       "IPv6Gateway": "",
       "GlobalIPv6Address": "",
       "GlobalIPv6PrefixLen": 0,
       "MacAddress": "",
       "DriverOpts": null
      }
     }
    },
    "Mounts": []
   }
  ]
 },
 "VolumeUsage": {
  "ActiveCount": 1,
  "TotalCount": 2,
  "Reclaimable": 0,
  "TotalSize": 0,
  "Items": [
   {
    "CreatedAt": "2026-11-23T01:23:05Z",
    "Driver": "local",
    "Labels": {},
    "Mountpoint": "/tmp/twda/root/volumes/data-live/_data",
    "Name": "data-live",
    "Options": {},
    "Scope": "local",
    "UsageData": {
     "RefCount": 1,
     "Size": 0
    }
   },
   {
    "CreatedAt": "2026-11-23T01:23:05Z",
    "Driver": "local",
    "Labels": {},
    "Mountpoint": "/tmp/twda/root/volumes/data-old/_data",
    "Name": "data-old",
    "Options": {},
    "Scope": "local",
    "UsageData": {
     "RefCount": 0,
     "Size": 0
    }
   }
  ]
 },
 "BuildCacheUsage": {
  "ActiveCount": 0,
  "TotalCount": 5,
  "Reclaimable": 1200022,
  "TotalSize": 2400022,
  "Items": [
   {
    "ID": "7fw5hx03e7podzg0hcsvg53nv",
    "Parent": "r4fa353hpo60wo8lxwm8ia3ga",
    "Type": "regular",
    "Description": "fileop target",
    "InUse": false,
    "Shared": true,
    "Size": 1200000,
    "CreatedAt": "2026-11-23T01:23:05.80062507Z",
    "LastUsedAt": "2026-11-23T01:23:05.875549862Z",
    "UsageCount": 1
   },
   {
    "ID": "w41kckt6qnrdkzplelyl2eyov",
    "Parent": "",
    "Type": "source.local",
    "Description": "local source for context",
    "InUse": false,
    "Shared": false,
    "Size": 0,
    "CreatedAt": "2026-11-23T01:23:05.689234218Z",
    "LastUsedAt": "2026-11-23T01:23:05.882242628Z",
    "UsageCount": 1
   },
   {
    "ID": "fye3ld1u2uigetzmrjfsbe7o8",
    "Parent": "",
    "Type": "source.local",
    "Description": "local source for context",
    "InUse": false,
    "Shared": false,
    "Size": 1200000,
    "CreatedAt": "2026-11-23T01:23:05.722942125Z",
    "LastUsedAt": "2026-11-23T01:23:05.869602995Z",
    "UsageCount": 1
   },
   {
    "ID": "9ijaggz3jj3gsfl9cxfewt7tm",
    "Parent": "",
    "Type": "source.local",
    "Description": "local source for dockerfile",
    "InUse": false,
    "Shared": false,
    "Size": 22,
    "CreatedAt": "2026-11-23T01:23:05.663949293Z",
    "LastUsedAt": "2026-11-23T01:23:05.861052746Z",
    "UsageCount": 1
   },
   {
    "ID": "r4fa353hpo60wo8lxwm8ia3ga",
    "Parent": "",
    "Type": "regular",
    "Description": "from local ",
    "InUse": false,
    "Shared": true,
    "Size": 0,
    "CreatedAt": "2026-11-23T01:23:05.72519398Z",
    "LastUsedAt": "2026-11-23T01:23:05.862473078Z",
    "UsageCount": 1
   }
  ]
 }
})json";

// When the recorded build cache was last used, and when stopped-one stopped.
inline constexpr const char* recordedBuildCacheUse = "2026-11-23T01:23:05Z";
inline constexpr const char* recordedContainerInspect =
    R"json({"Id":"49b05768cb88605234e00e8d03fa396d70a8ef8cf74305ab0996844ff94c72cb","State":{"Status":"exited",)json"
    R"json("Running":false,"StartedAt":"2026-11-23T01:23:06.439656694Z","FinishedAt":"2026-11-23T01:23:06.438019928Z"}})json";

}  // namespace tw::test
