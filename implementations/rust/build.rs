// Generates the classes, and a function that makes a message from its name, which the crate
// protobuf lacks.

use protobuf::descriptor::FileDescriptorSet;
use protobuf::Message;
use std::fmt::Write;
use std::{env, fs, path::Path};

fn main() {
    let path = env::var("QMSG_DESCRIPTOR_SET").expect("QMSG_DESCRIPTOR_SET names a file");
    println!("cargo:rerun-if-env-changed=QMSG_DESCRIPTOR_SET");
    println!("cargo:rerun-if-changed={path}");
    let set = FileDescriptorSet::parse_from_bytes(&fs::read(path).unwrap()).unwrap();
    let own = |name: &str| !name.starts_with("google/");
    let names: Vec<String> = set
        .file
        .iter()
        .map(|file| file.get_name().to_string())
        .filter(|name| own(name))
        .collect();
    let out = env::var("OUT_DIR").unwrap();
    let options = protobuf_codegen::Customize {
        gen_mod_rs: Some(true),
        ..Default::default()
    };
    protobuf_codegen::gen_and_write(&set.file, &names, Path::new(&out), &options).unwrap();

    let mut code = String::from(
        "pub fn new_message(name: &str) -> Option<Box<dyn protobuf::Message>> {\n match name {\n",
    );
    for file in set.file.iter().filter(|file| own(file.get_name())) {
        let module = file.get_name().trim_end_matches(".proto");
        for message in &file.message_type {
            let (package, name) = (file.get_package(), message.get_name());
            writeln!(
                code,
                "\"{package}.{name}\" => Some(Box::new({module}::{name}::new())),"
            )
            .unwrap();
        }
    }
    code += "_ => None,\n }\n}\n";
    let mut modules = fs::read_to_string(format!("{out}/mod.rs")).unwrap();
    modules += &code;
    fs::write(format!("{out}/mod.rs"), modules).unwrap();
}
