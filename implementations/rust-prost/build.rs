// Generates the structs from the schema files.

fn main() {
    let folder = std::env::var("QMSG_PROTO_DIR").expect("QMSG_PROTO_DIR names a folder");
    println!("cargo:rerun-if-env-changed=QMSG_PROTO_DIR");
    println!("cargo:rerun-if-changed={folder}");
    let schemas = ["jobqueue", "monitor", "tarq"].map(|name| format!("{folder}/{name}.proto"));
    prost_build::Config::new()
        .include_file("messages.rs")
        .compile_protos(&schemas, &[folder])
        .unwrap();
}
