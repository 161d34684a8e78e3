//! The hardware inventory of this machine, through hw_inventory_interface.dll.
#![allow(dead_code)] // a program need not use all of it

use std::ffi::{c_void, CStr, CString};
use std::fmt;
use std::os::raw::c_char;
use std::os::windows::ffi::OsStrExt;
use std::path::{Path, PathBuf};

pub const KINDS: [&str; 8] = ["cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"];

type Find = unsafe extern "C" fn(*mut *mut c_char, *mut usize) -> u32;
type Release = unsafe extern "C" fn(*mut c_void);
type GetException = unsafe extern "C" fn() -> *const ExceptionRecord;
/// Gets the level and the text of a log line. A panic must not leave it.
pub type Logger = extern "C" fn(u32, *const c_char);
type SetLogger = unsafe extern "C" fn(Option<Logger>);

/// As in hw_inventory_interface.h.
#[repr(C)]
struct ExceptionRecord {
    stack_trace: *const c_char,
    file: *const c_char,
    function: *const c_char,
    line: i64,
    message: *const c_char,
    error_text: *const c_char,
}

#[link(name = "kernel32")]
extern "system" {
    fn LoadLibraryExW(path: *const u16, file: *mut c_void, flags: u32) -> *mut c_void;
    fn GetProcAddress(module: *mut c_void, name: *const c_char) -> *const c_void;
}
const LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR: u32 = 0x100;
const LOAD_LIBRARY_SEARCH_SYSTEM32: u32 = 0x800;

/// The library serves one call at a time in a process: it is neither Send nor Sync, and there is one of it.
pub struct Inventory {
    module: *mut c_void,
    release: Release,
    get_exception: GetException,
}

/// Why a call failed: the texts of the library's record, or none where that is of an earlier failure.
#[derive(Debug)]
pub struct Failure {
    pub kind: String,
    pub status: u32,
    pub text: String,
    pub stack_trace: String,
}

impl fmt::Display for Failure {
    fn fmt(&self, to: &mut fmt::Formatter) -> fmt::Result {
        write!(to, "{}: status {}{}", self.kind, self.status, self.text)
    }
}

impl std::error::Error for Failure {}

impl Inventory {
    /// Loads the library, which stays loaded until the process ends.
    pub fn load(path: &Path, log: Option<Logger>) -> Result<Inventory, String> {
        let folder = std::env::current_dir().map_err(|error| error.to_string())?;
        let whole: PathBuf = folder.join(path).components().collect(); // with backslashes
        let wide: Vec<u16> = whole.as_os_str().encode_wide().chain([0]).collect();
        let flags = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;
        let module = unsafe { LoadLibraryExW(wide.as_ptr(), std::ptr::null_mut(), flags) };
        if module.is_null() {
            let error = std::io::Error::last_os_error();
            let needed = [whole.clone(), whole.with_file_name("vm_detect.dll")].into_iter().find(|file| !file.exists());
            let cause = needed.map_or(error.to_string(), |file| format!("{} is missing", file.display()));
            return Err(format!("cannot load {}: {}", whole.display(), cause));
        }
        // The types are those of the header.
        unsafe {
            let set_logger: SetLogger = std::mem::transmute(function(module, "hardware_inventory_set_logger")?);
            set_logger(log);
            Ok(Inventory {
                module,
                release: std::mem::transmute(function(module, "release_buffer")?),
                get_exception: std::mem::transmute(function(module, "hardware_inventory_get_exception")?),
            })
        }
    }

    /// The document of a kind, in compact JSON.
    pub fn collect(&self, kind: &str) -> Result<String, Failure> {
        let mut failure = Failure { kind: kind.to_string(), status: 0, text: String::new(), stack_trace: String::new() };
        let name = format!("hardware_inventory_find_{}", kind.replace('-', "_"));
        let (mut buffer, mut size) = (std::ptr::null_mut(), 0);
        unsafe {
            let find: Find = match function(self.module, &name) {
                Ok(found) => std::mem::transmute(found),
                Err(problem) => {
                    failure.text = format!(": {}", problem);
                    return Err(failure);
                }
            };
            failure.status = find(&mut buffer, &mut size);
            if failure.status == 0 {
                let document = text(buffer);
                (self.release)(buffer.cast());
                return Ok(document);
            }
            if size == 0 {
                let record = &*(self.get_exception)();
                for part in [text(record.error_text), text(record.message)] {
                    if !part.trim().is_empty() {
                        failure.text += &format!(": {}", part.trim());
                    }
                }
                failure.text += &format!(" ({} in {}, line {})", text(record.function), text(record.file), record.line);
                failure.stack_trace = text(record.stack_trace);
            }
        }
        Err(failure)
    }
}

fn function(module: *mut c_void, name: &str) -> Result<*const c_void, String> {
    let terminated = CString::new(name).map_err(|error| error.to_string())?;
    let found = unsafe { GetProcAddress(module, terminated.as_ptr()) };
    if found.is_null() { Err(format!("the library has no function {}", name)) } else { Ok(found) }
}

/// A copy of a string of C.
pub fn text(c: *const c_char) -> String {
    if c.is_null() { String::new() } else { unsafe { CStr::from_ptr(c) }.to_string_lossy().into_owned() }
}
